#include "Wall/WallView.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

struct Choice
{
    const char *name;
    QStringList ids;
    int from;
    QSet<QString> elsewhere;
    std::optional<QString> last;
    std::optional<int> expected;
};

const QString k171 = QStringLiteral("171");
const QString k193 = QStringLiteral("193");
const QString k304 = QStringLiteral("304");
const QString kA = QStringLiteral("a");
const QString kB = QStringLiteral("b");

class Chooser : public testing::TestWithParam<Choice>
{
};

TEST_P(Chooser, PicksTheNextProduct)
{
    const Choice &row = GetParam();
    EXPECT_EQ(WallView::nextIndex(row.ids, row.from, row.elsewhere, row.last), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, Chooser,
    testing::Values(
        Choice{"FirstWhenNothingSpeaksAgainstIt", {k171, k193, k304}, 0, {}, {}, 0},
        Choice{"NotTheSameTwiceRunning", {k171, k193, k304}, 0, {}, k171, 1},
        Choice{"NotWhatAnotherScreenShows", {k171, k193, k304}, 1, {k193}, {}, 2},
        Choice{"NeitherOfBoth", {k171, k193, k304}, 0, {k193}, k171, 2},
        Choice{"WrapsPastTheEnd", {k171, k193, k304}, 2, {k304}, {}, 0},
        Choice{"ARepeatRatherThanWhatIsElsewhere", {k171, k193}, 0, {k193}, k171, 0},
        Choice{"ARepeatRatherThanWhatIsElsewhereFromTheOther", {kA, kB}, 1, {kB}, kA, 0},
        Choice{"TheFirstMetWhenAllAreElsewhere", {kA, kB}, 0, {kA, kB}, {}, 0},
        Choice{"TheFirstMetCountsFromWhereTheSearchStarts", {kA, kB}, 1, {kA, kB}, {}, 1},
        Choice{"ElsewhereAndARepeatIsTheWorst", {kA, kB}, 0, {kA, kB}, kA, 1},
        Choice{"AloneItIsChosenWhateverSpeaksAgainstIt", {k171}, 0, {k171}, k171, 0},
        Choice{"NothingOutOfNothing", {}, 0, {}, {}, std::nullopt}),
    [](const auto &row) { return row.param.name; });

TEST(ChooserDeathTest, ANegativeStartStopsTheProgram)
{
    EXPECT_DEATH((void)WallView::nextIndex({k171}, -1, {}, {}), "cannot start at -1");
}

struct Rewind
{
    int i;
    int n;
    int expected;
};

class Rewound : public testing::TestWithParam<Rewind>
{
};

TEST_P(Rewound, LandsOnTheClipBeforeTheOneThatPlays)
{
    EXPECT_EQ(WallView::rewound(GetParam().i, GetParam().n), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Positions, Rewound,
                         testing::Values(Rewind{0, 3, 1}, Rewind{1, 3, 2}, Rewind{2, 3, 0},
                                         Rewind{3, 3, 1}, Rewind{0, 1, 0}, Rewind{0, 0, 0},
                                         Rewind{5, 0, 0}));

} // namespace
} // namespace corvella
