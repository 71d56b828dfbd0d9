// A feed whose last line is a signature of all lines before it. Decides whether it is to be
// believed; a pure function, any thread.
#pragma once

#include "platform/update/Appcast.h"

#include <optional>

namespace corvella {

// What is remembered of the newest feed that was believed.
struct SeenFeed
{
    QDateTime issued;  // UTC
    QByteArray digest; // SHA-256 of the whole feed

    bool operator==(const SeenFeed &) const = default;
};

enum class FeedVerdict {
    believed,
    notSigned,     // not by this key, or not as it stands
    notAFeed,      // signed, but nothing that we can read
    older,         // than the one seen last: somebody plays old answers back
    replaced,      // another one of the same date: two feeds are being mixed
    expired,       // it, or an old one that somebody holds newer ones back with
    fromTheFuture, // so that this machine's clock, or the feed, is wrong
};

struct FeedReading
{
    FeedVerdict verdict = FeedVerdict::notSigned;
    Appcast feed = {};  // when it is believed
    SeenFeed seen = {}; // what is to be remembered then
};

[[nodiscard]] FeedReading readSignedFeed(const QByteArray &bytes, const PublicKey &key,
                                         const std::optional<SeenFeed> &last, const QDateTime &now);

} // namespace corvella
