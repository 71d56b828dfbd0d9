#include "cache/RefreshRules.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

QDateTime now()
{
    return QDateTime(QDate(2026, 9, 24), QTime(20, 42, 16), Qt::UTC);
}

TEST(IsNewerTest, GoesForwardOnlyByTheTimeStampsOfVersionedPaths)
{
    const QString late = QStringLiteral("v/171/20260924T204216.mp4");
    const QString early = QStringLiteral("v/171/20260924T182303.mp4");
    const QString unversioned = QStringLiteral("video/rhef_171_1k.mp4");
    const struct
    {
        const char *name;
        QString path;
        std::optional<QString> old;
        bool newer;
    } rows[] = {
        {"later", late, early, true},
        {"earlier", early, late, false},
        {"equal", early, early, false},
        {"nothing there", early, std::nullopt, true},
        {"from unversioned", early, unversioned, true},
        {"to unversioned", unversioned, early, true},
        {"both unversioned", unversioned, unversioned, true},
        {"over an empty side file", early, QString(), true},
        {"in another folder", QStringLiteral("v/b/20260924T204216.mp4"),
         QStringLiteral("v/a/20260924T204216.mp4"), false},
        {"with another extension", QStringLiteral("v/171/20260924T204216.webm"), late, false},
        {"without an extension", QStringLiteral("v/171/20260925"), late, true},
        {"with a longer stem", QStringLiteral("v/171/20260924T204216a.mp4"), late, true},
        {"with nothing but the mark", QStringLiteral("v/"), late, false},
        {"with the mark in capitals", QStringLiteral("V/171/20200101T000000.mp4"), late, true},
        {"with a slash before the mark", QStringLiteral("/v/171/20200101T000000.mp4"), late, true},
    };
    for (const auto &row : rows)
        EXPECT_EQ(Cache::isNewer(row.path, row.old), row.newer) << row.name;
}

TEST(IsDueTest, CountsFromExactlyTheInterval)
{
    EXPECT_TRUE(Cache::isDue(now(), 3600s, now().addSecs(3600)));
    EXPECT_FALSE(Cache::isDue(now(), 3600s, now().addSecs(3599)));
    EXPECT_FALSE(Cache::isDue(now(), 3600s, now().addMSecs(3'599'999)));
    EXPECT_FALSE(Cache::isDue(now(), 3600s, now().addSecs(-3600))) << "the clock was set back";
}

TEST(IsDueTest, TellsATimeOfAnotherClock)
{
    EXPECT_FALSE(Cache::isFromAnotherTime(now(), 3600s, now().addSecs(3600)));
    EXPECT_FALSE(Cache::isFromAnotherTime(now(), 3600s, now()));
    EXPECT_FALSE(Cache::isFromAnotherTime(now(), 3600s, now().addSecs(-3599)));
    EXPECT_TRUE(Cache::isFromAnotherTime(now(), 3600s, now().addSecs(-3600)));
    EXPECT_TRUE(Cache::isFromAnotherTime(now(), 24h, QDateTime::fromSecsSinceEpoch(0)));
}

TEST(IsDueTest, IsAlwaysDueAfterTheDistantPast)
{
    EXPECT_TRUE(Cache::isDue(QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC), 24h, now()));
}

TEST(ShouldUseOriginTest, GoesPastAHostThatIsSilentOrHasStopped)
{
    const struct
    {
        const char *name;
        std::optional<QDateTime> generated;
        bool reached;
        bool origin;
    } rows[] = {
        {"silent", std::nullopt, false, true},
        {"silent with a fresh index", now(), false, true},
        {"no date", std::nullopt, true, false},
        {"fresh", now(), true, false},
        {"from the future", now().addDays(1), true, false},
        {"exactly 18 hours", now().addSecs(-64800), true, false},
        {"a second more", now().addSecs(-64801), true, true},
    };
    for (const auto &row : rows)
        EXPECT_EQ(Cache::shouldUseOrigin(row.reached, row.generated, now()), row.origin)
            << row.name;
}

TEST(ManualSpacingTest, IsAnHour)
{
    EXPECT_EQ(Cache::manualSpacing, 3600s);
}

} // namespace
} // namespace corvella
