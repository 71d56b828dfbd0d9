// What a feed of updates says: RSS 2.0 with the elements that update feeds commonly use, and a few
// of our own. Pure functions; any thread.
//
// In <channel>: <corvella:issued> and <corvella:expires>, instants in ISO 8601. In each <item>:
// <sparkle:version> (the build number), <sparkle:shortVersionString> (the version for people),
// <enclosure url length sparkle:edSignature sparkle:os="linux" corvella:machine>, and, where they
// apply, <sparkle:minimumSystemVersion> (of the C library), <sparkle:channel>,
// <sparkle:phasedRolloutInterval> (seconds) with <pubDate>, and <description> (plain text).
#pragma once

#include "platform/update/Ed25519.h"

#include <QDateTime>
#include <QList>
#include <QVersionNumber>

#include <chrono>

namespace corvella {

struct AppcastItem
{
    QString version; // for people
    qint64 build = 0;
    QString url;                       // https
    qint64 length = 0;                 // bytes of the bundle, exactly
    Signature signature = {};          // of the whole bundle
    QString machine;                   // "linux-x86_64"
    QVersionNumber minimumSystem = {}; // null: any
    QString channel = {};              // empty: for everybody
    QDateTime published = {};          // UTC; invalid: not said
    // Not null: every seventh of all machines is offered the update so much later.
    std::chrono::seconds phaseInterval{0};
    QString notes = {}; // what is new; somebody else's text, not to be taken for markup

    bool operator==(const AppcastItem &) const = default;
};

struct Appcast
{
    QDateTime issued;  // UTC
    QDateTime expires; // UTC, after issued
    QList<AppcastItem> items;

    bool operator==(const Appcast &) const = default;

    // Reads any bytes; none for what is no such feed or has no dates. Items that are not whole, or
    // that only point to a page, are left out; of more than 200 the highest builds stay. Document
    // types and entities are refused.
    [[nodiscard]] static std::optional<Appcast> parse(const QByteArray &xml);
};

// A bundle longer than this is nobody's.
inline constexpr qint64 kLargestBundle = qint64{1} << 30; // bytes

} // namespace corvella
