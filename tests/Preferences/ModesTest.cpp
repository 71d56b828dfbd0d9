// What choosing a mode shows, allows and changes.
#include "Preferences/PreferencesFixture.h"

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::Not;

class ModesTest : public test::PreferencesFixture
{
protected:
    // As many products as there are, so that a kiosk downloads nothing.
    void stockEverything()
    {
        m_home.stock({u"rainbow"_s, u"171"_s, u"193"_s, u"211"_s, u"304"_s, u"335"_s, u"94"_s,
                      u"131"_s, u"1600"_s, u"1700"_s, u"composite_uv"_s, u"dem"_s});
    }

    static bool isThere(const char *name) { return control(name).isVisible(); }

    static QStringList enabled(std::initializer_list<const char *> names)
    {
        QStringList enabled;
        for (const char *name : names) {
            if (isEnabled(name))
                enabled << QString::fromLatin1(name);
        }
        return enabled;
    }
};

TEST_F(ModesTest, SegmentsStandInTheirOrder)
{
    open();
    QStringList labels;
    for (int i = 0; i < 4; ++i)
        labels << modeControl().segment(i)->text();
    EXPECT_EQ(labels, (QStringList{u"Desktop"_s, u"Screen Saver"_s, u"Wall"_s, u"Kiosk"_s}));
}

TEST_F(ModesTest, ShowsTheStoredMode)
{
    const std::initializer_list<std::pair<QString, int>> expected{
        {u"desktop"_s, 0}, {u"saver"_s, 1}, {u"wall"_s, 2}, {u"kiosk"_s, 3}, {u"nonsense"_s, 0}};
    for (const auto &[stored, segment] : expected) {
        Settings::d().setString(u"mode"_s, stored);
        open();
        EXPECT_EQ(modeControl().selected(), segment) << stored.toStdString();
    }
}

TEST_F(ModesTest, EachModeExplainsItselfAndAllowsWhatItCanUse)
{
    stockEverything();
    open();
    const auto all = {"idleField",    "idleStepper",     "lockBox",    "shuffleBox", "loopsField",
                      "loopsStepper", "transitionPopup", "desktopBox", "desktopNow"};
    const QStringList playback{u"shuffleBox"_s, u"loopsField"_s, u"loopsStepper"_s,
                               u"transitionPopup"_s, u"desktopBox"_s};
    const QStringList idle{u"idleField"_s, u"idleStepper"_s};

    choose(Mode::wall);
    EXPECT_EQ(Settings::mode(), Mode::wall);
    EXPECT_EQ(text("modeHelp"),
              u"Starts when you open Corvella or click Start. Ends on its close button, which "
              "appears when you move the mouse."_s);
    EXPECT_EQ(text("startButton"), u"Start Wall"_s);
    EXPECT_EQ(control("armButton").toolTip(),
              u"Hide this window and wait for the idle timer below, then start the wall on its "
              "own."_s);
    EXPECT_TRUE(isThere("lockNote"));
    EXPECT_EQ(text("lockNote"), u"Screen Saver mode only."_s);
    EXPECT_FALSE(isThere("presetNote"));
    EXPECT_EQ(enabled(all), idle + playback);

    choose(Mode::saver);
    EXPECT_EQ(text("modeHelp"),
              u"Waits in the background and starts after the idle time. Any input dismisses it. "
              "Quit from the Dock to stop waiting."_s);
    EXPECT_FALSE(isThere("lockNote"));
    EXPECT_EQ(enabled(all), idle + QStringList{u"lockBox"_s} + playback);

    choose(Mode::kiosk);
    EXPECT_EQ(text("modeHelp"),
              u"Starts at login and stays up. Offline, with all imagery downloaded first. Exit a "
              "running kiosk with Control-Option-Command-Q."_s);
    EXPECT_TRUE(isThere("presetNote"));
    EXPECT_EQ(enabled(all), idle + playback);

    choose(Mode::desktop);
    EXPECT_EQ(text("modeHelp"),
              u"Keeps each screen's desktop picture current with the latest still. Leave Corvella "
              "running; it lives in the menu bar."_s);
    EXPECT_TRUE(isTicked("desktopBox")) << "though the setting itself is off";
    EXPECT_FALSE(Settings::desktop());
    EXPECT_TRUE(
        test::becomes([] { return isEnabled("desktopNow"); })); // when the update is through
    EXPECT_EQ(enabled(all), (QStringList{u"desktopBox"_s, u"desktopNow"_s}));
    EXPECT_TRUE(isThere("armNote"));
    choose(Mode::wall);
    EXPECT_FALSE(isTicked("desktopBox"));
}

TEST_F(ModesTest, TheWholeIdleRowIsGreyedWithItsWords)
{
    Settings::setMode(Mode::desktop);
    open();
    for (const QLabel *label : control("idleField").parentWidget()->findChildren<QLabel *>())
        EXPECT_FALSE(label->isEnabled());
}

TEST_F(ModesTest, AKioskIsOfflineSignedAndOpensAtLogin)
{
    stockEverything();
    Settings::setMode(Mode::wall);
    Settings::setOffline(false);
    open();
    choose(Mode::kiosk);
    EXPECT_TRUE(Settings::offline());
    EXPECT_TRUE(Settings::attribution());
    EXPECT_TRUE(Settings::openAtLogin());
    EXPECT_EQ(Settings::d().boolean(u"offlineBeforeKiosk"_s), false);
    EXPECT_TRUE(isTicked("offlineRadio"));
    EXPECT_TRUE(isTicked("attributionBox"));
    EXPECT_TRUE(isTicked("loginBox"));

    choose(Mode::wall);
    EXPECT_FALSE(Settings::offline());
    EXPECT_FALSE(Settings::d().contains(u"attribution"_s));
    EXPECT_FALSE(isTicked("attributionBox"));
    EXPECT_TRUE(Settings::openAtLogin());
    EXPECT_TRUE(isTicked("onlineRadio"));
}

TEST_F(ModesTest, ChoosingTheKioskAgainKeepsWhatWasBefore)
{
    stockEverything();
    Settings::setMode(Mode::saver);
    Settings::setOffline(false);
    open();
    choose(Mode::kiosk);
    choose(Mode::kiosk);
    EXPECT_EQ(Settings::d().boolean(u"offlineBeforeKiosk"_s), false);
    choose(Mode::saver);
    EXPECT_FALSE(Settings::offline());
}

TEST_F(ModesTest, WhoWasOfflineBeforeAKioskIsOfflineAfterIt)
{
    stockEverything();
    Settings::setMode(Mode::wall);
    open();
    choose(Mode::kiosk);
    EXPECT_EQ(Settings::d().boolean(u"offlineBeforeKiosk"_s), true);
    choose(Mode::wall);
    EXPECT_TRUE(Settings::offline());
}

TEST_F(ModesTest, LeavingAKioskThatWasNotChosenHereLeavesTheNetworkAsItIs)
{
    stockEverything();
    Settings::setMode(Mode::kiosk);
    open();
    choose(Mode::wall);
    EXPECT_TRUE(Settings::offline());
}

TEST_F(ModesTest, TheDesktopTakesTheWallsDownAndRemembersThePictures)
{
    Settings::setMode(Mode::wall);
    open();
    m_walls.calls.clear();
    choose(Mode::saver);
    EXPECT_EQ(m_walls.calls, QStringList{u"keepWalls"_s}) << "only the desktop ends walls";
    m_walls.calls.clear();
    choose(Mode::desktop);
    EXPECT_EQ(m_walls.calls, (QStringList{u"keepWalls"_s, u"hide"_s}));
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_EQ(Settings::previousDesktop(), QStringList(2, u"file:///home/user/picture.png"_s));
}

TEST_F(ModesTest, LeavingTheDesktopPutsThePicturesBack)
{
    Settings::setMode(Mode::desktop);
    Settings::setPreviousDesktop(QStringList{u"file:///home/user/picture.png"_s});
    open();
    choose(Mode::wall);
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_THAT(m_desktopCalls, Contains(u"put back"_s));
    EXPECT_FALSE(Settings::previousDesktop());
}

TEST_F(ModesTest, LeavingTheDesktopKeepsPicturesThatAreWantedAnyway)
{
    Settings::setMode(Mode::desktop);
    Settings::setDesktop(true);
    Settings::setPreviousDesktop(QStringList{u"file:///home/user/picture.png"_s});
    open();
    choose(Mode::wall);
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_THAT(m_desktopCalls, Not(Contains(u"put back"_s)));
    EXPECT_TRUE(Settings::previousDesktop());
}

TEST_F(ModesTest, ArrowKeysPassSegmentsAndSpaceChooses)
{
    Settings::setMode(Mode::desktop);
    open();
    QAbstractButton *const first = modeControl().segment(0);
    first->setFocus();
    QTest::keyClick(first, Qt::Key_Right);
    QTest::keyClick(modeControl().segment(1), Qt::Key_Right);
    EXPECT_TRUE(modeControl().segment(2)->hasFocus());
    EXPECT_EQ(Settings::mode(), Mode::desktop);
    QTest::keyClick(modeControl().segment(2), Qt::Key_Space);
    EXPECT_EQ(Settings::mode(), Mode::wall);
    EXPECT_EQ(modeControl().selected(), 2);
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(window().focusWidget(), Qt::Key_Left);
    EXPECT_TRUE(first->hasFocus()) << "and stops at the end";
}

} // namespace
} // namespace corvella
