// Walls and kiosks under a Wayland compositor: above all windows, and with the keys that are
// theirs.
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"

#include <QFile>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr QRect kLeft(0, 0, 640, 480);
constexpr QRect kRight(640, 0, 320, 240);
const QString kSwayLocked = u"kiosk: locked"_s;
const QStringList kChordModifiers{u"ctrl"_s, u"logo"_s, u"alt"_s};

// Keys and a click that are the compositor's own; each leaves a file.
const QString kBindings = u"bindsym Mod1+F2 exec touch ~/key\n"
                          "bindsym F5 exec touch ~/plain-key\n"
                          "bindsym --whole-window button1 exec touch ~/click\n"_s;

class SwayKiosk : public testing::Test
{
protected:
    SwayKiosk()
    {
        m_program.showOn(m_sway);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"kiosk"_s}});
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
        m_program.addClip(u"304"_s, 3);
    }

    void startLocked()
    {
        m_program.start();
        ASSERT_TRUE(m_program.logs(kSwayLocked));
        ASSERT_TRUE(becomes([this] { return areBothCovered(); }));
    }

    [[nodiscard]] bool isCovered(int output, QSize size)
    {
        const auto seen = test::seenPattern(m_sway.picture(output), QRect(QPoint(0, 0), size));
        return seen && seen->isWhole;
    }
    [[nodiscard]] bool areBothCovered()
    {
        return isCovered(0, kLeft.size()) && isCovered(1, kRight.size());
    }
    // Whether the compositor heeded one of its own keys or clicks.
    [[nodiscard]] bool heeded(const QString &file) const
    {
        return QFile::exists(m_sway.folder() + u'/' + file);
    }

    // Opens a window of another program and waits until it has the keys.
    void openAnotherWindow(test::ProgramUnderTest &other)
    {
        other.showOn(m_sway);
        other.configure({{u"offline"_s, true}});
        other.start();
        ASSERT_TRUE(becomes([this] { return isFocused(); }));
    }
    [[nodiscard]] bool isFocused()
    {
        const QByteArray windows = m_sway.tell({u"-r"_s, u"-t"_s, u"get_tree"_s});
        const qsizetype pid = windows.indexOf("\"pid\":");
        const qsizetype focused = windows.lastIndexOf("\"focused\":", pid);
        return pid >= 0 && windows.mid(focused, 16).contains("true");
    }

    test::HeadlessSway m_sway{{kLeft, kRight}, kBindings};
    test::ProgramUnderTest m_program;
};

TEST_F(SwayKiosk, KeepsTheCompositorsKeysFromIt)
{
    m_sway.typeKey(u"F2"_s, {u"alt"_s});
    ASSERT_TRUE(becomes([this] { return heeded(u"key"_s); }));
    QFile::remove(m_sway.folder() + u"/key"_s);
    startLocked();
    m_sway.typeKey(u"F2"_s, {u"alt"_s});
    m_sway.typeKey(u"F5"_s);
    // What was typed before has been dealt with when this is.
    m_sway.typeKey(u"q"_s, kChordModifiers);
    EXPECT_TRUE(becomes([this] { return !isCovered(0, kLeft.size()); }));
    EXPECT_FALSE(heeded(u"key"_s));
    EXPECT_FALSE(heeded(u"plain-key"_s));
    EXPECT_TRUE(m_program.process().isRunning());
    m_sway.typeKey(u"F2"_s, {u"alt"_s});
    EXPECT_TRUE(becomes([this] { return heeded(u"key"_s); })) << "they are not given back";
}

TEST_F(SwayKiosk, GivesTheKeysBackWhenItIsKilled)
{
    startLocked();
    m_program.process().signal(SIGKILL);
    ASSERT_TRUE(becomes([this] { return !m_program.process().isRunning(); }));
    m_sway.typeKey(u"F2"_s, {u"alt"_s});
    EXPECT_TRUE(becomes([this] { return heeded(u"key"_s); }));
}

TEST_F(SwayKiosk, LiesAboveAWindowThatFillsTheScreen)
{
    test::ProgramUnderTest other;
    openAnotherWindow(other);
    startLocked();
    m_sway.tell({u"[pid=%1] focus, fullscreen enable"_s.arg(other.process().id())});
    EXPECT_TRUE(areBothCovered());
    m_sway.typeKey(u"q"_s, kChordModifiers);
    EXPECT_TRUE(becomes([this] { return !isCovered(0, kLeft.size()); })) << "the keys went to it";
}

TEST_F(SwayKiosk, CoversAnOutputThatIsAddedAndStaysLocked)
{
    startLocked();
    m_sway.tell({u"create_output"_s});
    EXPECT_TRUE(m_program.logs(u"display layout changed (2 -> 3)"_s));
    EXPECT_TRUE(becomes([this] {
        return areBothCovered() && test::seenPattern(m_sway.picture(2), {240, 0, 1440, 1080});
    }));
    m_sway.typeKey(u"F2"_s, {u"alt"_s});
    m_sway.typeKey(u"q"_s, kChordModifiers);
    EXPECT_TRUE(becomes([this] { return !isCovered(0, kLeft.size()); }));
    EXPECT_FALSE(heeded(u"key"_s));
}

TEST_F(SwayKiosk, StaysLockedWhileItsWallsAreBuiltAnew)
{
    startLocked();
    m_sway.change(1, QSize(400, 300), 1);
    m_sway.hammer(u"F2"_s, u"alt"_s, 200);
    EXPECT_TRUE(m_program.logs(u"display layout changed (2 -> 2)"_s));
    m_sway.typeKey(u"q"_s, kChordModifiers);
    EXPECT_TRUE(becomes([this] { return !isCovered(0, kLeft.size()); }));
    EXPECT_FALSE(heeded(u"key"_s));
}

// As with a television that is switched off and on again.
class SwayKioskOnOneDisplay : public testing::Test
{
protected:
    SwayKioskOnOneDisplay()
    {
        m_program.showOn(m_sway);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"kiosk"_s}});
        m_program.addClip(u"171"_s, 1);
    }

    [[nodiscard]] bool hasDisplay() const
    {
        return m_sway.tell({u"-r"_s, u"-t"_s, u"get_outputs"_s}).contains("\"WL-");
    }
    void pullOut()
    {
        ASSERT_TRUE(becomes([this] {
            return m_outer.tell({u"-r"_s, u"-t"_s, u"get_tree"_s}).contains("wlroots");
        }));
        m_outer.tell({u"[app_id=wlroots] kill"_s});
        ASSERT_TRUE(becomes([this] { return !hasDisplay(); }));
    }
    void plugIn() { m_sway.tell({u"create_output"_s}); }

    // The compositor's own key does nothing, and the chord ends the kiosk as soon as a wall is
    // there to hear it.
    void expectLocked()
    {
        m_sway.typeKey(u"F2"_s, {u"alt"_s});
        EXPECT_TRUE(becomes([this] {
            m_sway.typeKey(u"q"_s, kChordModifiers);
            return showsWindow();
        }));
        EXPECT_FALSE(QFile::exists(m_sway.folder() + u"/key"));
    }

    test::HeadlessSway m_outer{{kLeft}};
    test::HeadlessSway m_sway{m_outer, kBindings};
    test::ProgramUnderTest m_program;

private:
    // Walls are none to the compositor, but the settings' is one.
    [[nodiscard]] bool showsWindow() const
    {
        return m_sway.tell({u"-r"_s, u"-t"_s, u"get_tree"_s}).contains("\"pid\":");
    }
};

TEST_F(SwayKioskOnOneDisplay, IsLockedAgainWhenItComesBack)
{
    m_program.start();
    ASSERT_TRUE(m_program.logs(kSwayLocked));
    pullOut();
    plugIn();
    EXPECT_TRUE(m_program.logs(u"display layout changed (1 -> 1)"_s));
    expectLocked();
}

TEST_F(SwayKioskOnOneDisplay, WaitsForItWhereThereIsNone)
{
    pullOut();
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 0 of 0 display(s), mode kiosk"_s));
    plugIn();
    EXPECT_TRUE(m_program.logs(u"display layout changed (0 -> 1)"_s));
    expectLocked();
}

class SwayWall : public SwayKiosk
{
protected:
    SwayWall() { m_program.configure({{u"mode"_s, u"wall"_s}}); }
};

TEST_F(SwayWall, HasTheKeysWhenItCoversEveryScreenButLeavesTheCompositorItsOwn)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return areBothCovered(); }));
    m_sway.typeKey(u"F2"_s, {u"alt"_s});
    EXPECT_TRUE(becomes([this] { return heeded(u"key"_s); }));
    m_sway.typeKey(u"q"_s, {u"ctrl"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

TEST_F(SwayWall, TakesNoKeysFromTheScreenBesideIt)
{
    test::ProgramUnderTest other;
    m_sway.tell({u"focus output HEADLESS-2"_s});
    openAnotherWindow(other);
    m_program.configure({{u"products"_s, QJsonArray{u"171"_s, u"off"_s}}});
    m_program.start();
    ASSERT_TRUE(becomes([this] { return isCovered(0, kLeft.size()); }));
    EXPECT_TRUE(isFocused());
    m_sway.typeKey(u"q"_s, {u"ctrl"_s});
    // The settings window there quits by them, the wall does not.
    EXPECT_EQ(other.process().exitStatus(), 0);
    EXPECT_EQ(m_program.process().exitStatus(1s), std::nullopt);
}

TEST_F(SwayWall, LetsClicksThroughAsASaver)
{
    m_program.configure({{u"mode"_s, u"saver"_s}, {u"idleMinutes"_s, 0.0001}});
    m_program.start();
    ASSERT_TRUE(becomes([this] { return areBothCovered(); }));
    m_sway.tell({u"seat - cursor set 100 100"_s});
    m_sway.tell({u"seat - cursor press button1"_s});
    m_sway.tell({u"seat - cursor release button1"_s});
    EXPECT_TRUE(becomes([this] { return heeded(u"click"_s); }));
}

} // namespace
} // namespace corvella
