#include "Preferences/CacheStatus.h"
#include "support/QtPrinting.h"

#include <QTimeZone>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

const QLocale kAmerican(QLocale::English, QLocale::UnitedStates);
const QLocale kGerman(QLocale::German, QLocale::Germany);

CacheSummary three()
{
    return {3, u"2026-09-24T20:42:16Z"_s};
}

TEST(CacheStatusTest, SaysWhatIsThereAndHowCurrentItIs)
{
    EXPECT_EQ(cacheStatusText({}, false, {}, kAmerican), u"Nothing downloaded yet"_s);
    EXPECT_EQ(cacheStatusText({}, true, {}, kAmerican), u"Nothing downloaded yet"_s);
    EXPECT_EQ(cacheStatusText({1, std::nullopt}, false, {}, kAmerican),
              u"The built-in clip only"_s);
    EXPECT_EQ(cacheStatusText({1, std::nullopt}, true, {}, kAmerican),
              u"The built-in clip only on disk. Offline: not updating."_s);
    EXPECT_EQ(cacheStatusText({12, std::nullopt}, false, {}, kAmerican), u"12 products"_s);
    EXPECT_EQ(cacheStatusText(three(), true, {}, kAmerican),
              u"3 products on disk. Offline: not updating."_s);
    // As captions on walls read dates.
    EXPECT_EQ(cacheStatusText(three(), false, {}, kAmerican),
              u"3 products, current to Sep 24, 08:42 PM"_s);
}

TEST(CacheStatusTest, SaysWhenARefusedCheckMayComeAgain)
{
    // Tests run in UTC.
    const QDateTime next(QDate(2026, 9, 25), QTime(14, 5), Qt::UTC);
    EXPECT_EQ(cacheStatusText({3, std::nullopt}, false, next, kGerman),
              u"3 products. Checked within the hour; the next check can run at 14:05."_s);
    EXPECT_EQ(cacheStatusText({3, std::nullopt}, false, next, kAmerican),
              u"3 products. Checked within the hour; the next check can run at 2:05 PM."_s);
    EXPECT_EQ(cacheStatusText({3, std::nullopt}, true, next, kAmerican),
              u"3 products on disk. Offline: not updating."_s);
}

TEST(CacheStatusTest, TheNewestStampIsTheGreatestText)
{
    const QJsonObject old{{u"updated"_s, u"2026-09-24T20:42:16Z"_s}};
    const QJsonObject newer{{u"updated"_s, u"2026-09-25T20:42:16Z"_s}};
    EXPECT_EQ(summary({old, newer, old}), (CacheSummary{3, u"2026-09-25T20:42:16Z"_s}));
    EXPECT_EQ(summary({QJsonObject{{u"updated"_s, 5}}, QJsonObject()}),
              (CacheSummary{2, std::nullopt}));
    EXPECT_EQ(summary({}), CacheSummary());
}

TEST(CacheStatusTest, CountsDownloads)
{
    EXPECT_EQ(downloadingText(3, 12), u"Downloading 3 of 12…"_s);
}

} // namespace
} // namespace corvella
