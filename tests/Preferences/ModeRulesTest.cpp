#include "Preferences/ModeRules.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

struct Row
{
    const char *name;
    Mode mode;
    bool desktop;
    ModeRules expected;
};

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

class ModeRulesTest : public testing::TestWithParam<Row>
{
};

TEST_P(ModeRulesTest, SaysAndAllows)
{
    const ModeRules rules = modeRules(GetParam().mode, 5.9, GetParam().desktop);
    const ModeRules &expected = GetParam().expected;
    EXPECT_EQ(rules.startTitle, expected.startTitle);
    EXPECT_EQ(rules.armTooltip, expected.armTooltip);
    EXPECT_EQ(rules.armNote, expected.armNote);
    EXPECT_EQ(rules.lockNote, expected.lockNote);
    EXPECT_EQ(rules.presetNote, expected.presetNote);
    EXPECT_EQ(rules, expected);
}

INSTANTIATE_TEST_SUITE_P(
    EachMode, ModeRulesTest,
    testing::Values(
        Row{"Wall",
            Mode::wall,
            false,
            {u"Start Wall"_s,
             u"Hide this window and wait for the idle timer below, then start the wall on its own."_s,
             u"Arm hides this window, then starts the wall after 5 minutes without input."_s,
             u"Screen Saver mode only."_s, QString(), true, false, true, false, false}},
        Row{"WallWithDesktopPictures",
            Mode::wall,
            true,
            {u"Start Wall"_s,
             u"Hide this window and wait for the idle timer below, then start the wall on its own."_s,
             u"Arm hides this window, then starts the wall after 5 minutes without input."_s,
             u"Screen Saver mode only."_s, QString(), true, false, true, true, false}},
        Row{"Saver",
            Mode::saver,
            false,
            {u"Start Now"_s,
             u"Hide this window now, same as what Screen Saver mode already waits to do on its own."_s,
             u"Arm hides this window. Screen Saver already waits on its own."_s, QString(),
             QString(), true, true, true, false, false}},
        Row{"Kiosk",
            Mode::kiosk,
            false,
            {u"Start Kiosk"_s,
             u"Hide this window and wait for the idle timer below, then start the kiosk on its own."_s,
             u"Arm hides this window, then starts the kiosk after 5 minutes without input."_s,
             u"Screen Saver mode only."_s,
             u"Kiosk mode turned these on, along with Offline below. Leaving Kiosk puts them back."_s,
             true, false, true, false, false}},
        Row{"Desktop",
            Mode::desktop,
            false,
            {u"Update Desktop Now"_s,
             u"Hide this window and leave it running; the picture updates on its own schedule."_s,
             u"Arm hides this window and leaves Corvella running; the picture keeps updating."_s,
             u"Screen Saver mode only."_s, QString(), false, false, false, true, true}}),
    [](const auto &row) { return row.param.name; });

TEST(ModeChangeTest, TheDesktopTakesOverFromAnyMode)
{
    for (const Mode old : kModeSegments) {
        EXPECT_TRUE(modeChange(old, Mode::desktop, false).startsDesktop);
        EXPECT_FALSE(modeChange(old, Mode::desktop, false).restoresDesktop);
    }
    EXPECT_FALSE(modeChange(Mode::desktop, Mode::wall, false).startsDesktop);
}

TEST(ModeChangeTest, LeavingTheDesktopRestoresPicturesThatNobodyWantsAnyMore)
{
    EXPECT_TRUE(modeChange(Mode::desktop, Mode::wall, false).restoresDesktop);
    EXPECT_FALSE(modeChange(Mode::desktop, Mode::wall, true).restoresDesktop);
    EXPECT_FALSE(modeChange(Mode::saver, Mode::wall, false).restoresDesktop);
}

TEST(ModeChangeTest, TheKioskTurnsOnAndBack)
{
    EXPECT_EQ(modeChange(Mode::wall, Mode::kiosk, false),
              (ModeChange{false, false, true, true, false}));
    EXPECT_EQ(modeChange(Mode::kiosk, Mode::kiosk, false),
              (ModeChange{false, false, false, true, false}));
    EXPECT_EQ(modeChange(Mode::kiosk, Mode::saver, false),
              (ModeChange{false, false, false, false, true}));
    EXPECT_EQ(modeChange(Mode::wall, Mode::saver, false), ModeChange());
}

} // namespace
} // namespace corvella
