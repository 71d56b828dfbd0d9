#include "shell/StatusLine.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

struct Row
{
    const char *name;
    StatusFacts facts;
    const char *line;
};

// Mode, showing, armed, offline, desktop active, idle minutes, refresh minutes.
class StatusLineTest : public testing::TestWithParam<Row>
{
};

TEST_P(StatusLineTest, SaysWhatTheProgramIsDoing)
{
    EXPECT_EQ(statusLine(GetParam().facts), QString::fromUtf8(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Moments, StatusLineTest,
    testing::Values(
        Row{"WallUp", {Mode::wall, true, false, false, false, 5, 1440}, "Wall: on screen"},
        Row{"SaverUp",
            {Mode::saver, true, false, false, false, 5, 1440},
            "Screen Saver: on screen"},
        Row{"KioskUp", {Mode::kiosk, true, true, true, false, 5, 1440}, "Kiosk: on screen"},
        // When the mode was changed from a shell meanwhile.
        Row{"DesktopUp", {Mode::desktop, true, false, false, true, 5, 1440}, "Desktop: on screen"},
        Row{"WallArmed",
            {Mode::wall, false, true, false, false, 7.9, 1440},
            "Wall: armed, starts after 7 min idle"},
        Row{"SaverArmed",
            {Mode::saver, false, true, false, false, 0.5, 1440},
            "Screen Saver: armed, starts after 0 min idle"},
        Row{"DesktopArmed",
            {Mode::desktop, false, true, false, true, 5, 1440},
            "Desktop: armed, starts after 5 min idle"},
        Row{"SaverWaits",
            {Mode::saver, false, false, false, false, 5, 1440},
            "Screen Saver: starts after 5 min idle"},
        Row{"DesktopOnceADay",
            {Mode::desktop, false, false, false, true, 5, 1440},
            "Desktop: picture updates once a day"},
        Row{"DesktopTwiceADay",
            {Mode::desktop, false, false, false, true, 5, 720},
            "Desktop: picture updates twice a day"},
        // Set from a shell.
        Row{"DesktopEveryHour",
            {Mode::desktop, false, false, false, true, 5, 60},
            "Desktop: picture updates once a day"},
        Row{"DesktopOffline",
            {Mode::desktop, false, false, true, true, 5, 720},
            "Desktop: picture fixed, not updating"},
        Row{"WallReady", {Mode::wall, false, false, true, false, 5, 1440}, "Wall: ready"},
        Row{"KioskReady", {Mode::kiosk, false, false, false, false, 5, 1440}, "Kiosk: ready"}),
    [](const auto &row) { return row.param.name; });

TEST(StartTitle, NamesTheMode)
{
    EXPECT_EQ(startTitle(Mode::wall), QStringLiteral("Start Wall Now"));
    EXPECT_EQ(startTitle(Mode::saver), QStringLiteral("Start Screen Saver Now"));
    EXPECT_EQ(startTitle(Mode::kiosk), QStringLiteral("Start Kiosk Now"));
    EXPECT_EQ(startTitle(Mode::desktop), QStringLiteral("Start Wall Now"));
}

} // namespace
} // namespace corvella
