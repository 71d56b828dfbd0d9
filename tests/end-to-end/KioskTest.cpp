// A kiosk on a desktop: nobody gets past it but with its chord.
#include "support/DummyXorg.h"
#include "support/InputStorm.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr QSize kKioskScreen(640, 480);
const QString kChord = u"ctrl+super+alt+q"_s;
const QString kLocked = u"kiosk: locked"_s;

// What a desktop binds its keys and clicks to; %1 is a file that shows that one was heeded.
constexpr QStringView kDesktop = uR"(<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <desktops><number>4</number></desktops>
  <keyboard>
    <keybind key="A-F2"><action name="Execute"><command>touch %1</command></action></keybind>
    <keybind key="C-A-Delete"><action name="Execute"><command>touch %1</command></action></keybind>
    <keybind key="Print"><action name="Execute"><command>touch %1</command></action></keybind>
    <keybind key="A-Tab"><action name="NextWindow"/></keybind>
    <keybind key="A-F4"><action name="Close"/></keybind>
    <keybind key="A-Escape"><action name="Lower"/></keybind>
    <keybind key="W-d"><action name="ToggleShowDesktop"/></keybind>
    <keybind key="W-m"><action name="Iconify"/></keybind>
    <keybind key="W-f"><action name="ToggleFullscreen"/></keybind>
    <keybind key="A-space"><action name="ShowMenu"><menu>client-menu</menu></action></keybind>
    <keybind key="W-space"><action name="ShowMenu"><menu>root-menu</menu></action></keybind>
    <keybind key="C-A-Right"><action name="GoToDesktop"><to>right</to></action></keybind>
  </keyboard>
  <mouse>
    <context name="Client">
      <mousebind button="A-Left" action="Drag"><action name="Move"/></mousebind>
      <mousebind button="A-Right" action="Press"><action name="Iconify"/></mousebind>
      <mousebind button="W-Right" action="Press">
        <action name="Execute"><command>touch %1</command></action>
      </mousebind>
    </context>
    <context name="Root">
      <mousebind button="Right" action="Press">
        <action name="ShowMenu"><menu>root-menu</menu></action>
      </mousebind>
    </context>
  </mouse>
</openbox_config>
)";

class Kiosk : public testing::Test
{
protected:
    Kiosk()
    {
        QFile configuration(m_folder.filePath(u"rc.xml"_s));
        EXPECT_TRUE(configuration.open(QIODevice::WriteOnly));
        configuration.write(kDesktop.toString().arg(m_heeded).toUtf8());
        configuration.close();
        m_display.startWindowManager(configuration.fileName());
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"kiosk"_s}});
        m_program.addClip(u"171"_s, 1);
    }

    void press(const QString &keys) { m_display.input({u"key"_s, keys}); }

    void startLocked()
    {
        m_program.start();
        ASSERT_TRUE(m_program.logs(kLocked));
        ASSERT_TRUE(becomes([this] { return showsNothingButTheWall(); }));
    }

    [[nodiscard]] bool showsNothingButTheWall()
    {
        const QList<test::XWindow> windows = m_display.client().windows();
        return windows.size() == 1 && windows.first().title == u"Corvella"_s
            && windows.first().frame == QRect(QPoint(0, 0), kKioskScreen);
    }
    [[nodiscard]] bool plays()
    {
        const auto seen =
            test::seenPattern(m_display.client().picture(), QRect(QPoint(0, 0), kKioskScreen));
        return seen && seen->isWhole;
    }
    [[nodiscard]] bool wallIsGone()
    {
        const QList<test::XWindow> windows = m_display.client().windows();
        return std::none_of(windows.begin(), windows.end(), [](const test::XWindow &window) {
            return window.frame == QRect(QPoint(0, 0), kKioskScreen);
        });
    }
    // Whether the window manager heeds its keys now.
    [[nodiscard]] bool managerHeeds(const QString &keys)
    {
        QFile::remove(m_heeded);
        press(keys);
        return becomes([this] { return QFile::exists(m_heeded); });
    }

    QTemporaryDir m_folder;
    const QString m_heeded = m_folder.filePath(u"heeded"_s);
    test::VirtualDisplay m_display{kKioskScreen};
    test::ProgramUnderTest m_program;
};

TEST_F(Kiosk, KeepsTheDesktopsKeysFromTheWindowManager)
{
    ASSERT_TRUE(managerHeeds(u"alt+F2"_s));
    ASSERT_TRUE(managerHeeds(u"Print"_s));
    QFile::remove(m_heeded);
    startLocked();
    for (const QString &keys : {u"alt+F2"_s, u"ctrl+alt+Delete"_s, u"Print"_s, u"alt+Tab"_s,
                                u"alt+F4"_s, u"super+d"_s, u"super+m"_s, u"ctrl+q"_s})
        press(keys);
    EXPECT_TRUE(showsNothingButTheWall());
    // What was pressed before has been dealt with when this is.
    press(kChord);
    EXPECT_TRUE(becomes([this] { return wallIsGone(); }));
    EXPECT_FALSE(QFile::exists(m_heeded));
    EXPECT_TRUE(managerHeeds(u"alt+F2"_s)) << "the desktop has not got its keys back";
}

TEST_F(Kiosk, LetsNobodyElseTakeTheKeysOrThePointer)
{
    startLocked();
    EXPECT_FALSE(m_display.client().grabKeyboard());
    EXPECT_FALSE(m_display.client().grabPointer());
}

TEST_F(Kiosk, LocksAsSoonAsAnotherProgramLetsGo)
{
    ASSERT_TRUE(m_display.client().grabKeyboard());
    ASSERT_TRUE(m_display.client().grabPointer());
    m_program.start();
    EXPECT_TRUE(
        m_program.logs(u"kiosk: not locked: another program has hold of keyboard and pointer"_s));
    EXPECT_TRUE(m_program.logs(
        u"kiosk: not locked: another program does not let go of keyboard and pointer"_s));
    EXPECT_FALSE(m_program.messages().contains(kLocked));
    m_display.client().releaseGrabs();
    EXPECT_TRUE(m_program.logs(kLocked));
    EXPECT_FALSE(m_display.client().grabKeyboard());
    EXPECT_FALSE(m_display.client().grabPointer());
}

TEST_F(Kiosk, SaysWhichHalfOfTheInputItLacks)
{
    ASSERT_TRUE(m_display.client().grabPointer());
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"kiosk: not locked: another program has hold of the pointer"_s));
    EXPECT_FALSE(m_display.client().grabKeyboard());
}

TEST_F(Kiosk, LetsGoWhenItIsKilled)
{
    startLocked();
    m_program.process().signal(SIGKILL);
    ASSERT_TRUE(becomes([this] { return !m_program.process().isRunning(); }));
    EXPECT_TRUE(becomes([this] { return m_display.client().grabKeyboard(); }));
    EXPECT_TRUE(m_display.client().grabPointer());
    m_display.client().releaseGrabs();
    EXPECT_TRUE(managerHeeds(u"alt+F2"_s));
}

TEST_F(Kiosk, HearsItsChordWhenAnotherWindowHasTheFocus)
{
    startLocked();
    m_display.client().takeFocus();
    press(kChord);
    EXPECT_TRUE(becomes([this] { return wallIsGone(); }));
}

TEST_F(Kiosk, StandsAStormOfKeysAndClicks)
{
    constexpr int kStrokes = 10'000;
    constexpr int kAtATime = 500;
    startLocked();
    const int shownBefore = m_display.client().windowsShown();
    test::X11Storm storm(m_display.display(), kKioskScreen, 20'110'905);
    for (int i = 0; i < kStrokes; i += kAtATime) {
        storm.rage(kAtATime);
        ASSERT_TRUE(showsNothingButTheWall()) << "after " << i + kAtATime;
    }
    EXPECT_TRUE(m_program.process().isRunning());
    EXPECT_TRUE(becomes([this] { return plays(); }));
    EXPECT_EQ(m_display.client().windowsShown(), shownBefore) << "something was on the screen";
    EXPECT_FALSE(QFile::exists(m_heeded));
    press(kChord);
    EXPECT_TRUE(becomes([this] { return wallIsGone(); }));
    EXPECT_TRUE(m_program.process().isRunning());
}

TEST_F(Kiosk, BecomesAnOrdinaryWallFromAShell)
{
    startLocked();
    m_program.changeSettings({u"write"_s, u"mode"_s, u"wall"_s});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    EXPECT_TRUE(managerHeeds(u"alt+F2"_s)) << "the desktop has not got its keys back";
    EXPECT_TRUE(becomes([this] { return showsNothingButTheWall() && plays(); }));
}

// Displays come and go, and the walls are built anew; the lock stays.
TEST_F(Kiosk, StaysLockedWhileItsWallsAreBuiltAnew)
{
    startLocked();
    m_display.plugIn(u"Left"_s, {0, 0, 320, 480});
    m_display.plugIn(u"Right"_s, {320, 0, 320, 480});
    ASSERT_TRUE(becomes([this] {
        EXPECT_FALSE(m_display.client().grabKeyboard());
        EXPECT_FALSE(m_display.client().grabPointer());
        return m_display.client().windows().size() == 2;
    }));
    press(u"alt+F2"_s);
    press(kChord);
    EXPECT_TRUE(becomes([this] { return m_display.client().windows().size() != 2; }));
    EXPECT_FALSE(QFile::exists(m_heeded));
    EXPECT_EQ(m_program.messages().count(kLocked), 1);
}

} // namespace
} // namespace corvella
