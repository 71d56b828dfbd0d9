#include "platform/update/UpdateChoice.h"
#include "platform/update/Now.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

const QString kMachine = QStringLiteral("linux-x86_64");

AppcastItem item(qint64 build)
{
    AppcastItem made;
    made.version = QString::number(build);
    made.build = build;
    made.machine = kMachine;
    return made;
}

UpdateFacts facts(qint64 runningBuild)
{
    return {.runningBuild = runningBuild,
            .machine = kMachine,
            .system = QVersionNumber(2, 36),
            .now = kNow};
}

qint64 choice(const QList<AppcastItem> &items, const UpdateFacts &facts,
              CheckKind kind = CheckKind::automatic)
{
    const auto chosen = chooseUpdate(items, facts, kind);
    return chosen ? chosen->build : 0;
}

TEST(UpdateChoice, OffersTheHighestBuildAndNoneThatIsNotHigher)
{
    EXPECT_EQ(choice({item(9), item(12), item(10)}, facts(9)), 12);
    EXPECT_EQ(choice({item(9)}, facts(9)), 0);
    EXPECT_EQ(choice({item(8)}, facts(9)), 0);
    EXPECT_EQ(choice({}, facts(9)), 0);
    EXPECT_EQ(choice({item(10)}, facts(9)), 10); // compared as numbers, not as text
}

TEST(UpdateChoice, OffersNothingThatFailedBefore)
{
    UpdateFacts after = facts(9);
    after.failedBuild = 11;
    EXPECT_EQ(choice({item(10), item(11)}, after), 0);
    EXPECT_EQ(choice({item(10), item(11), item(12)}, after), 12);
}

TEST(UpdateChoice, OffersOnlyWhatRunsHere)
{
    AppcastItem other = item(10);
    other.machine = QStringLiteral("linux-aarch64");
    EXPECT_EQ(choice({other}, facts(9)), 0);
    AppcastItem newer = item(10);
    newer.minimumSystem = QVersionNumber(2, 37);
    EXPECT_EQ(choice({newer}, facts(9)), 0);
    newer.minimumSystem = QVersionNumber(2, 36);
    EXPECT_EQ(choice({newer}, facts(9)), 10);
    newer.minimumSystem = QVersionNumber(2, 4); // less than 36, though "4" sorts behind "36"
    EXPECT_EQ(choice({newer}, facts(9)), 10);
}

TEST(UpdateChoice, OffersAChannelToThoseWhoAskedForIt)
{
    AppcastItem beta = item(10);
    beta.channel = QStringLiteral("beta");
    EXPECT_EQ(choice({beta}, facts(9)), 0);
    EXPECT_EQ(choice({beta}, facts(9), CheckKind::byHand), 0);
    UpdateFacts tester = facts(9);
    tester.channels = {QStringLiteral("beta")};
    EXPECT_EQ(choice({beta}, tester), 10);
    EXPECT_EQ(choice({item(11), beta}, tester), 11);
}

TEST(UpdateChoice, RollsOutInSevenPhases)
{
    AppcastItem phased = item(10);
    phased.phaseInterval = std::chrono::hours(24);
    for (int phase = 0; phase < 7; ++phase) {
        UpdateFacts machine = facts(9);
        machine.phase = phase;
        phased.published = kNow.addDays(-phase);
        EXPECT_EQ(choice({phased}, machine), 10) << phase;
        phased.published = kNow.addDays(-phase).addSecs(1);
        EXPECT_EQ(choice({phased}, machine), 0) << phase;
        EXPECT_EQ(choice({phased}, machine, CheckKind::byHand), 10) << phase;
    }
}

TEST(UpdateChoice, OffersAnOlderUpdateWhileTheNewestHasNotReachedThisPhase)
{
    AppcastItem phased = item(11);
    phased.phaseInterval = std::chrono::hours(24);
    phased.published = kNow;
    UpdateFacts last = facts(9);
    last.phase = 6;
    EXPECT_EQ(choice({phased, item(10)}, last), 10);
}

} // namespace
} // namespace corvella
