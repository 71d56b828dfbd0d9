#include "platform/update/SignedFeed.h"
#include "support/TestBundle.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using test::FeedEntry;

const QDateTime kIssued(QDate(2026, 9, 10), QTime(12, 0), Qt::UTC);
constexpr qint64 kDay = 86'400; // seconds

class SignedFeed : public testing::Test
{
protected:
    [[nodiscard]] static QByteArray feed(const QDateTime &issued, qint64 build = 2)
    {
        return test::makeFeed({{.build = build,
                                .url = QStringLiteral("https://a.example/%1").arg(build),
                                .length = 10,
                                .signature = QByteArray(64, 's').toBase64()}},
                              issued, issued.addSecs(30 * kDay));
    }
    [[nodiscard]] FeedReading read(const QByteArray &bytes,
                                   const std::optional<SeenFeed> &last = {},
                                   const QDateTime &now = kIssued.addSecs(60)) const
    {
        return readSignedFeed(bytes, *PublicKey::parse(m_signer.publicKey()), last, now);
    }
    [[nodiscard]] QByteArray signedFeed(const QDateTime &issued, qint64 build = 2) const
    {
        return test::signedFeed(feed(issued, build), m_signer);
    }

    test::TestSigner m_signer;
};

TEST_F(SignedFeed, IsBelievedAsItWasSigned)
{
    const FeedReading reading = read(signedFeed(kIssued));
    EXPECT_EQ(reading.verdict, FeedVerdict::believed);
    EXPECT_EQ(reading.feed.items.size(), 1);
    EXPECT_EQ(reading.seen.issued, kIssued);
    EXPECT_EQ(reading.seen.digest,
              QCryptographicHash::hash(feed(kIssued), QCryptographicHash::Sha256));
    // The same one again, and then a newer one.
    EXPECT_EQ(read(signedFeed(kIssued), reading.seen).verdict, FeedVerdict::believed);
    EXPECT_EQ(read(signedFeed(kIssued.addSecs(1)), reading.seen).verdict, FeedVerdict::believed);
}

TEST_F(SignedFeed, IsRefusedWithOneBitChangedAnywhere)
{
    const QByteArray whole = signedFeed(kIssued);
    for (qsizetype i = 0; i < whole.size(); ++i) {
        QByteArray changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        EXPECT_EQ(read(changed).verdict, FeedVerdict::notSigned) << i;
    }
}

TEST_F(SignedFeed, IsRefusedUnsignedCutShortLengthenedOrSignedByAnotherKey)
{
    const QByteArray whole = signedFeed(kIssued);
    const test::TestSigner other;
    for (const QByteArray &bytes : QList<QByteArray>{
             QByteArray(), feed(kIssued), whole.chopped(1), whole.left(whole.size() / 2),
             whole + '\n', whole + "<!-- -->\n", test::signedFeed(feed(kIssued), other),
             feed(kIssued) + "<!-- signature:  -->\n", QByteArray("<!-- signature: x -->\n")})
        EXPECT_EQ(read(bytes).verdict, FeedVerdict::notSigned) << bytes.constData();
}

TEST_F(SignedFeed, CannotBeRolledBack)
{
    const SeenFeed newest = read(signedFeed(kIssued)).seen;
    EXPECT_EQ(read(signedFeed(kIssued.addSecs(-1)), newest).verdict, FeedVerdict::older);
}

TEST_F(SignedFeed, CannotBeFrozen)
{
    const QByteArray bytes = signedFeed(kIssued);
    const SeenFeed seen = read(bytes).seen;
    const QDateTime end = kIssued.addSecs(30 * kDay);
    EXPECT_EQ(read(bytes, seen, end.addSecs(-1)).verdict, FeedVerdict::believed);
    EXPECT_EQ(read(bytes, seen, end).verdict, FeedVerdict::expired);
}

TEST_F(SignedFeed, CannotBeMixedWithAnother)
{
    // Two feeds of one date: whoever gets both can show each machine another one.
    const SeenFeed seen = read(signedFeed(kIssued, 2)).seen;
    EXPECT_EQ(read(signedFeed(kIssued, 3), seen).verdict, FeedVerdict::replaced);
    // The items of one with the dates of another.
    const QByteArray oldFeed = feed(kIssued.addSecs(-kDay), 2);
    const QByteArray newFeed = feed(kIssued, 3);
    const QByteArray item = "<item>";
    const QByteArray mixed =
        newFeed.left(newFeed.indexOf(item)) + oldFeed.mid(oldFeed.indexOf(item));
    ASSERT_NE(mixed, newFeed);
    EXPECT_EQ(read(mixed + "<!-- signature: " + m_signer.sign(newFeed) + " -->\n").verdict,
              FeedVerdict::notSigned);
}

TEST_F(SignedFeed, IsRefusedFromTheFutureWhichWouldHoldBackAllTrueOnes)
{
    EXPECT_EQ(read(signedFeed(kIssued), {}, kIssued.addSecs(-kDay)).verdict, FeedVerdict::believed);
    EXPECT_EQ(read(signedFeed(kIssued), {}, kIssued.addSecs(-kDay - 1)).verdict,
              FeedVerdict::fromTheFuture);
}

TEST_F(SignedFeed, IsRefusedWhenItIsNone)
{
    EXPECT_EQ(read(test::signedFeed("<rss/>\n", m_signer)).verdict, FeedVerdict::notAFeed);
}

} // namespace
} // namespace corvella
