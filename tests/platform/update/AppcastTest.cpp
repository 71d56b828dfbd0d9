#include "platform/update/Appcast.h"
#include "support/QtPrinting.h"
#include "support/TestBundle.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using test::FeedEntry;

const QDateTime kFeedIssued(QDate(2026, 9, 1), QTime(12, 0), Qt::UTC);
const QDateTime kExpires(QDate(2026, 10, 1), QTime(12, 0), Qt::UTC);
const QByteArray kSignature = QByteArray(64, 's').toBase64();

FeedEntry entry()
{
    return {.version = QStringLiteral("1.2.3"),
            .build = 42,
            .url = QStringLiteral("https://updates.museum.example/corvella.tar.gz"),
            .length = 1000,
            .signature = kSignature};
}

std::optional<Appcast> parse(const QList<FeedEntry> &entries)
{
    return Appcast::parse(test::makeFeed(entries, kFeedIssued, kExpires));
}

qsizetype itemsOf(const FeedEntry &entry)
{
    const auto feed = parse({entry});
    return feed ? feed->items.size() : -1;
}

TEST(Appcast, ReadsWhatAnItemSays)
{
    FeedEntry written = entry();
    written.more =
        "<s:minimumSystemVersion>2.36</s:minimumSystemVersion><s:channel>beta</s:channel>"
        "<s:phasedRolloutInterval>86400</s:phasedRolloutInterval>"
        "<pubDate>Tue, 01 Sep 2026 10:00:00 +0200</pubDate>"
        "<description>Sharper &lt;b&gt;loops&lt;/b&gt; &amp; more</description>"
        "<unknown><deeper/></unknown>";
    const auto feed = parse({written});
    ASSERT_TRUE(feed);
    EXPECT_EQ(feed->issued, kFeedIssued);
    EXPECT_EQ(feed->expires, kExpires);
    ASSERT_EQ(feed->items.size(), 1);
    Signature signature = {};
    signature.fill('s');
    const AppcastItem expected{.version = QStringLiteral("1.2.3"),
                               .build = 42,
                               .url =
                                   QStringLiteral("https://updates.museum.example/corvella.tar.gz"),
                               .length = 1000,
                               .signature = signature,
                               .machine = QStringLiteral("linux-x86_64"),
                               .minimumSystem = QVersionNumber(2, 36),
                               .channel = QStringLiteral("beta"),
                               .published = QDateTime(QDate(2026, 9, 1), QTime(8, 0), Qt::UTC),
                               .phaseInterval = std::chrono::hours(24),
                               .notes = QStringLiteral("Sharper <b>loops</b> & more")};
    EXPECT_EQ(feed->items.first(), expected);
}

TEST(Appcast, LeavesOutItemsThatAreNotWhole)
{
    EXPECT_EQ(itemsOf(entry()), 1);
    const auto without = [](const std::function<void(FeedEntry &)> &change) {
        FeedEntry changed = entry();
        change(changed);
        return itemsOf(changed);
    };
    EXPECT_EQ(without([](FeedEntry &e) { e.build = 0; }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.build = -1; }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.version.clear(); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.version = QStringLiteral("1.2/../x"); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.url = QStringLiteral("http://a.example/x"); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.url = QStringLiteral("file:///etc/passwd"); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.url.clear(); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.length = 0; }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.length = -5; }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.length = (qint64{1} << 30) + 1; }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.signature.clear(); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.signature = QByteArray(63, 's').toBase64(); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.machine.clear(); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.os = QStringLiteral("windows"); }), 0);
    EXPECT_EQ(without([](FeedEntry &e) { e.os.clear(); }), 0);
}

TEST(Appcast, IsNoneWithoutDatesOrWithWrongOnes)
{
    EXPECT_TRUE(parse({}));
    const QByteArray whole = test::makeFeed({entry()}, kFeedIssued, kExpires);
    EXPECT_FALSE(Appcast::parse(test::makeFeed({entry()}, kExpires, kFeedIssued)));
    EXPECT_FALSE(Appcast::parse(QByteArray(whole).replace("c:issued", "c:other")));
    EXPECT_FALSE(Appcast::parse(QByteArray(whole).replace("c:expires", "c:other")));
    EXPECT_FALSE(Appcast::parse(QByteArray(whole).replace("2026-10-01T12", "not a date")));
}

TEST(Appcast, GoesByTheNameSpaceAndNotByItsAbbreviation)
{
    const QByteArray whole = test::makeFeed({entry()}, kFeedIssued, kExpires);
    ASSERT_EQ(Appcast::parse(whole)->items.size(), 1);
    const QByteArray renamed = QByteArray(whole)
                                   .replace("<s:", "<sparkle:")
                                   .replace("</s:", "</sparkle:")
                                   .replace(" s:", " sparkle:")
                                   .replace("xmlns:s=", "xmlns:sparkle=");
    EXPECT_EQ(Appcast::parse(renamed)->items.size(), 1);
    const QByteArray others =
        QByteArray(whole).replace("xml-namespaces/sparkle", "xml-namespaces/other");
    EXPECT_TRUE(Appcast::parse(others)->items.isEmpty());
}

TEST(Appcast, RefusesDocumentTypesEntitiesAndWhatIsNotXml)
{
    const QByteArray whole = test::makeFeed({entry()}, kFeedIssued, kExpires);
    EXPECT_FALSE(Appcast::parse({}));
    EXPECT_FALSE(Appcast::parse("<html></html>"));
    EXPECT_FALSE(Appcast::parse("<rss><channel/></rss>"));
    EXPECT_FALSE(Appcast::parse(whole.chopped(10)));
    EXPECT_FALSE(Appcast::parse(whole + "<more/>"));
    EXPECT_FALSE(Appcast::parse(QByteArray(whole).replace("<rss", "<!DOCTYPE rss>\n<rss")));
    EXPECT_FALSE(
        Appcast::parse(QByteArray(whole)
                           .replace("<rss", "<!DOCTYPE rss [<!ENTITY a \"aaaaaaaaaa\">]>\n<rss")
                           .replace("<title>Corvella", "<title>&a;&a;&a;")));
    EXPECT_FALSE(Appcast::parse(QByteArray(whole).replace("<title>Corvella", "<title>&nothing;")));
}

TEST(Appcast, BoundsWhatItKeeps)
{
    FeedEntry wordy = entry();
    wordy.more = "<description>" + QByteArray(1'000'000, 'x') + "</description>";
    EXPECT_EQ(parse({wordy})->items.first().notes.size(), 32'768);
    EXPECT_EQ(parse(QList<FeedEntry>(1000, entry()))->items.size(), 200);
}

TEST(Appcast, KeepsTheNewestOfMoreThanItKeeps)
{
    QList<FeedEntry> entries;
    for (qint64 build = 1; build <= 300; ++build) {
        entries << entry();
        entries.last().build = build;
    }
    for (int i = 0; i < 2; ++i) {
        const QList<AppcastItem> items = parse(entries)->items;
        ASSERT_EQ(items.size(), 200);
        EXPECT_TRUE(std::all_of(items.cbegin(), items.cend(),
                                [](const AppcastItem &item) { return item.build > 100; }));
        std::reverse(entries.begin(), entries.end());
    }
}

} // namespace
} // namespace corvella
