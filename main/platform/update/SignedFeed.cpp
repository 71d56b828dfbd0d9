#include "platform/update/SignedFeed.h"

#include <QCryptographicHash>

namespace corvella {

namespace {

constexpr QByteArrayView kBefore = "<!-- signature: ";
constexpr QByteArrayView kAfter = " -->\n";
constexpr qint64 kClockSlack = 86'400; // seconds; a day covers a zone that was set wrong

// The part of a feed that its last line signs; none when that line is no signature of it.
std::optional<QByteArray> signedPart(const QByteArray &bytes, const PublicKey &key)
{
    const qsizetype start = bytes.lastIndexOf(kBefore);
    if (start <= 0 || bytes[start - 1] != '\n' || !bytes.endsWith(kAfter))
        return std::nullopt;
    const qsizetype text = start + kBefore.size();
    const std::optional<Signature> signature =
        parseSignature(bytes.mid(text, bytes.size() - kAfter.size() - text));
    QByteArray part = bytes.left(start);
    const std::span covered(reinterpret_cast<const unsigned char *>(part.constData()),
                            size_t(part.size()));
    if (!signature || !key.verifies(*signature, covered))
        return std::nullopt;
    return part;
}

FeedVerdict judge(const Appcast &feed, const SeenFeed &seen, const std::optional<SeenFeed> &last,
                  const QDateTime &now)
{
    if (last && seen.issued < last->issued)
        return FeedVerdict::older;
    if (last && seen.issued == last->issued && seen.digest != last->digest)
        return FeedVerdict::replaced;
    if (feed.expires <= now)
        return FeedVerdict::expired;
    // Remembered, it would hold back every true one until then.
    if (feed.issued > now.addSecs(kClockSlack))
        return FeedVerdict::fromTheFuture;
    return FeedVerdict::believed;
}

} // namespace

FeedReading readSignedFeed(const QByteArray &bytes, const PublicKey &key,
                           const std::optional<SeenFeed> &last, const QDateTime &now)
{
    const std::optional<QByteArray> part = signedPart(bytes, key);
    if (!part)
        return {.verdict = FeedVerdict::notSigned};
    const std::optional<Appcast> feed = Appcast::parse(*part);
    if (!feed)
        return {.verdict = FeedVerdict::notAFeed};
    const SeenFeed seen{.issued = feed->issued,
                        .digest = QCryptographicHash::hash(*part, QCryptographicHash::Sha256)};
    const FeedVerdict verdict = judge(*feed, seen, last, now);
    if (verdict != FeedVerdict::believed)
        return {.verdict = verdict};
    return {.verdict = verdict, .feed = *feed, .seen = seen};
}

} // namespace corvella
