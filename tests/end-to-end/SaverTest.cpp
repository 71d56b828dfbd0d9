// A screen saver on a desktop: it comes with idleness and goes with input.
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/StandInService.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr auto kSettle = 1500ms;  // without input, before a shown saver heeds it
constexpr auto kLongestLock = 4s; // from the dismissal to a dark display, on a busy machine
constexpr auto kMargin = 700ms;   // it looks four times a second, and machines are busy

class Saver : public testing::Test
{
protected:
    Saver()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"saver"_s}, {u"lockOnDismiss"_s, false}});
        m_program.addClip(u"171"_s, 1);
    }

    // Launches the program so that it shows the saver after a second or so, and waits for that.
    void startAndWaitForSaver()
    {
        setIdleTime(1200ms);
        m_program.start();
        ASSERT_TRUE(m_program.logs(kShowing));
        ASSERT_TRUE(becomes([this] { return isUp(); }));
    }

    void setIdleTime(std::chrono::duration<double> time) const
    {
        const std::chrono::duration<double, std::ratio<60>> minutes = time;
        m_program.configure({{u"idleMinutes"_s, minutes.count()}});
    }

    [[nodiscard]] bool isUp()
    {
        const QList<test::XWindow> windows = m_display.client().windows();
        return windows.size() == 1 && windows.first().frame == QRect(0, 0, 640, 480);
    }
    [[nodiscard]] bool isDown() { return m_display.client().windows().isEmpty(); }
    // Whether it stays up for this long.
    [[nodiscard]] bool staysUp(std::chrono::milliseconds time)
    {
        return !becomes([this] { return !isUp(); }, time);
    }

    void moveMouse() { m_display.input({u"mousemove"_s, QString::number(++m_x), u"100"_s}); }

    const QString kShowing = u"showing on 1 of 1 display(s), mode saver"_s;
    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
    int m_x = 100;
};

TEST_F(Saver, ComesAfterTheIdleTimeAndNotBefore)
{
    setIdleTime(3s);
    const test::Stopwatch sinceInput;
    moveMouse();
    m_program.start();
    ASSERT_TRUE(m_program.logs(kShowing));
    EXPECT_GE(sinceInput.elapsed(), 3s);
    EXPECT_LT(sinceInput.elapsed(), 6s);
    EXPECT_TRUE(becomes([this] {
        return test::seenPattern(m_display.client().picture(), QRect(0, 0, 640, 480)).has_value();
    }));
}

TEST_F(Saver, IsPutOffByInput)
{
    setIdleTime(1500ms);
    moveMouse();
    m_program.start();
    EXPECT_FALSE(becomes(
        [this] {
            moveMouse();
            return !m_program.messages().filter(kShowing).isEmpty();
        },
        2500ms));
    const test::Stopwatch sinceInput;
    moveMouse();
    EXPECT_TRUE(m_program.logs(kShowing));
    EXPECT_GE(sinceInput.elapsed(), 1500ms);
}

TEST_F(Saver, ComesAtOnceWhenTheIdleTimeIsCutShortFromAShell)
{
    setIdleTime(1h);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return m_display.client().windows().size() == 1; }));
    EXPECT_TRUE(m_program.messages().filter(u"showing"_s).isEmpty());
    m_program.changeSettings({u"write"_s, u"idleMinutes"_s, u"-float"_s, u"0.001"_s});
    EXPECT_TRUE(m_program.logs(kShowing));
}

TEST_F(Saver, HeedsAMovementOnlyOnceInputHasSettled)
{
    startAndWaitForSaver();
    moveMouse();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    const test::Stopwatch sinceInput;
    moveMouse();
    EXPECT_TRUE(becomes([this] { return isDown(); }));
    EXPECT_LT(sinceInput.elapsed(), 2s); // a quarter of a second, on a machine at leisure
}

TEST_F(Saver, ComesAgainAfterItWasDismissed)
{
    startAndWaitForSaver();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    moveMouse();
    ASSERT_TRUE(becomes([this] { return isDown(); }));
    EXPECT_TRUE(m_program.logs(kShowing, 2));
    EXPECT_TRUE(becomes([this] { return isUp(); }));
}

TEST_F(Saver, LetsAClickThroughAndEndsOnIt)
{
    m_display.client().listenToRoot();
    startAndWaitForSaver();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    m_display.input({u"click"_s, u"1"_s});
    EXPECT_TRUE(becomes([this] { return isDown(); }));
    EXPECT_EQ(m_display.client().pressesOnRoot(), 1);
}

TEST_F(Saver, EndsAtOnceOnAnyKey)
{
    startAndWaitForSaver();
    ASSERT_TRUE(becomes(
        [this] { return m_display.client().focus() == m_display.client().windows().value(0).id; }));
    m_display.input({u"key"_s, u"F5"_s});
    EXPECT_TRUE(becomes([this] { return isDown(); }, kSettle));
}

TEST_F(Saver, LeavesTheDisplayOnWhenItIsNotToLock)
{
    startAndWaitForSaver();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    setIdleTime(1h);
    moveMouse();
    ASSERT_TRUE(becomes([this] { return isDown(); }));
    EXPECT_FALSE(becomes([this] { return m_display.client().isBlanked(); }, kLongestLock));
}

TEST_F(Saver, LocksAndThenSwitchesTheDisplayOffOnDismissal)
{
    const test::PrivateBus bus;
    m_program.setSessionBus(bus);
    test::StandInService locker(bus, u"org.freedesktop.ScreenSaver"_s);
    bool wasBlankedBefore = true;
    locker.setAnswer(u"Lock"_s, QVariantList{});
    locker.setAnswer(u"GetActive"_s, QVariantList{true});
    m_program.configure({{u"lockOnDismiss"_s, true}});
    startAndWaitForSaver();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    EXPECT_TRUE(locker.calls().isEmpty());
    setIdleTime(1h);
    moveMouse();
    ASSERT_TRUE(becomes([&] {
        wasBlankedBefore = m_display.client().isBlanked();
        return !locker.calls(u"Lock"_s).isEmpty();
    }));
    EXPECT_FALSE(wasBlankedBefore);
    EXPECT_TRUE(isDown());
    EXPECT_TRUE(becomes([this] { return m_display.client().isBlanked(); }, kLongestLock));
    moveMouse();
    EXPECT_TRUE(becomes([this] { return !m_display.client().isBlanked(); }));
    EXPECT_TRUE(isDown());
    EXPECT_EQ(locker.calls(u"Lock"_s).size(), 1);
}

// A machine without any locker.
TEST_F(Saver, SwitchesTheDisplayOffWhereNothingLocks)
{
    m_program.configure({{u"lockOnDismiss"_s, true}});
    startAndWaitForSaver();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    setIdleTime(1h);
    moveMouse();
    EXPECT_TRUE(becomes([this] { return m_display.client().isBlanked(); }));
    EXPECT_EQ(m_program.messages().filter(u"session lock: nothing here locks"_s).size(), 1);
}

TEST_F(Saver, EndsWhileALockerHangs)
{
    const test::PrivateBus bus;
    m_program.setSessionBus(bus);
    test::StandInService locker(bus, u"org.freedesktop.ScreenSaver"_s);
    locker.setAnswer(u"Lock"_s, test::StandInService::Silence{});
    m_program.configure({{u"lockOnDismiss"_s, true}});
    startAndWaitForSaver();
    EXPECT_TRUE(staysUp(kSettle + kMargin));
    setIdleTime(1h);
    moveMouse();
    ASSERT_TRUE(locker.gets(u"Lock"_s));
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(1s), 0);
}

} // namespace
} // namespace corvella
