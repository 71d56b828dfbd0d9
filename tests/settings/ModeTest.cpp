#include "settings/Mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella {
namespace {

struct Row
{
    Mode mode;
    int ordinal;
    QString rawValue;
    QString label;
    QString helpText;
};

const Row kRows[] = {
    {Mode::wall, 0, QStringLiteral("wall"), QStringLiteral("Wall"),
     QStringLiteral("Starts when you open Corvella or click Start. Ends on its close button, which "
                    "appears when you "
                    "move the mouse.")},
    {Mode::saver, 1, QStringLiteral("saver"), QStringLiteral("Screen Saver"),
     QStringLiteral("Waits in the background and starts after the idle time. Any input dismisses "
                    "it. Quit from the "
                    "Dock to stop waiting.")},
    {Mode::kiosk, 2, QStringLiteral("kiosk"), QStringLiteral("Kiosk"),
     QStringLiteral("Starts at login and stays up. Offline, with all imagery downloaded first. "
                    "Exit a running kiosk "
                    "with Control-Option-Command-Q.")},
    {Mode::desktop, 3, QStringLiteral("desktop"), QStringLiteral("Desktop"),
     QStringLiteral("Keeps each screen's desktop picture current with the latest still. Leave "
                    "Corvella running; it "
                    "lives in the menu bar.")},
};

TEST(ModeTest, HasItsOrdinalTextsAndLabels)
{
    for (const Row &row : kRows) {
        EXPECT_EQ(int(row.mode), row.ordinal);
        EXPECT_EQ(rawValue(row.mode), row.rawValue);
        EXPECT_EQ(label(row.mode), row.label);
        EXPECT_EQ(helpText(row.mode), row.helpText);
    }
}

TEST(ModeTest, IsMadeFromItsExactText)
{
    for (const Row &row : kRows)
        EXPECT_EQ(modeFromRawValue(row.rawValue), row.mode);
}

TEST(ModeTest, IsMadeFromNoOtherText)
{
    for (const QStringView text :
         {u"", u"Wall", u"WALL", u" wall", u"wall ", u"walls", u"Screen Saver", u"0"})
        EXPECT_FALSE(modeFromRawValue(text)) << text.toUtf8().constData();
    EXPECT_FALSE(modeFromRawValue(QString()));
}

TEST(ModeTest, IsOfferedFromTheGentlestOn)
{
    EXPECT_THAT(kModeSegments,
                testing::ElementsAre(Mode::desktop, Mode::saver, Mode::wall, Mode::kiosk));
}

} // namespace
} // namespace corvella
