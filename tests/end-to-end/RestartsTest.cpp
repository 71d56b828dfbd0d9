// What the program stands on is killed and started again under it: buses, window managers, trays.
// It has again what it had, or ends so that somebody notices.
#include "support/HeadlessSway.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/StandInService.h"
#include "support/StatusNotifierHost.h"
#include "support/TestBuses.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"
#include "support/X11Tray.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sysexits.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;
using test::StandInService;

constexpr QRect kScreen(0, 0, 640, 480);
const QString kInhibit = u"Inhibit"_s;
const QString kLockedAnew = u"kiosk: locked"_s;
const QString kAnew = u"message bus is back; starting anew"_s;
const QString kResident = u"desktop mode: resident, no windows"_s;

class Restarts : public testing::Test
{
protected:
    Restarts()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    void startAs(const QString &mode)
    {
        m_program.configure({{u"mode"_s, mode}, {u"idleMinutes"_s, 0.01}});
        m_program.start();
        ASSERT_TRUE(isUpAs(mode, 1));
    }
    // Waits until it has come up that many times.
    [[nodiscard]] bool isUpAs(const QString &mode, int times)
    {
        if (mode == u"desktop"_s)
            return m_program.logs(times == 1 ? kResident : u"resident, no windows"_s);
        return m_program.logs(u"showing on 1 of 1 display(s), mode "_s + mode, times)
            && becomes([this] { return isCovered(); });
    }
    [[nodiscard]] bool isCovered()
    {
        const auto seen = test::seenPattern(m_display.client().picture(), kScreen);
        return seen && seen->isWhole;
    }

    test::VirtualDisplay m_display{kScreen.size()};
    test::ProgramUnderTest m_program;
};

struct ModeRow
{
    const char *name;
    QString mode;
};

const auto kModes = testing::Values(ModeRow{"Wall", u"wall"_s}, ModeRow{"Saver", u"saver"_s},
                                    ModeRow{"Kiosk", u"kiosk"_s}, ModeRow{"Desktop", u"desktop"_s});

class RestartsIn : public Restarts, public testing::WithParamInterface<ModeRow>
{
};

// Whoever started it acts on the status: a kiosk's unit starts all of it anew.
TEST_P(RestartsIn, OfTheXServerEndTheProgramAndItSaysSo)
{
    startAs(GetParam().mode);
    m_display.stop();
    EXPECT_EQ(m_program.process().exitStatus(), EX_UNAVAILABLE);
    // Qt's words, or Xlib's where that looks first.
    const QStringList lines = m_program.process().errorLines();
    EXPECT_TRUE(lines.contains(u"The X11 connection broke (error 1). Did the X11 server die?"_s)
                || !lines.filter(u"XIO:  fatal IO error"_s).isEmpty())
        << lines.join(u'\n').toStdString();
}

TEST_P(RestartsIn, OfTheSessionBusHaveItAskForAllAgain)
{
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    {
        StandInService saver(bus, u"org.freedesktop.ScreenSaver"_s);
        saver.setAnswer(kInhibit, QVariantList{42U});
        const test::StatusNotifierHost panel(bus.address());
        startAs(GetParam().mode);
        ASSERT_TRUE(panel.hasItem());
        bus.crash();
        ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    }
    EXPECT_EQ(isCovered(), GetParam().mode != u"desktop"_s) << "it plays on without";
    EXPECT_FALSE(m_program.messages().contains(kAnew));

    bus.startAgain();
    StandInService saver(bus, u"org.freedesktop.ScreenSaver"_s);
    saver.setAnswer(kInhibit, QVariantList{43U});
    const test::StatusNotifierHost panel(bus.address());
    EXPECT_TRUE(isUpAs(GetParam().mode, 2));
    EXPECT_TRUE(panel.hasItem());
    const bool keepsAwake = GetParam().mode == u"wall"_s || GetParam().mode == u"kiosk"_s;
    EXPECT_TRUE(!keepsAwake || saver.gets(kInhibit));
    EXPECT_TRUE(GetParam().mode != u"kiosk"_s || m_program.logs(kLockedAnew, 2));
    // It is still the one that a second start finds.
    test::ChildProcess second(
        {test::ProgramUnderTest::executable(), {}, m_program.environment(), {}});
    EXPECT_EQ(second.exitStatus(), 0);
    EXPECT_TRUE(second.errorLines().contains(u"corvella: already running; told the other one"_s));
}

INSTANTIATE_TEST_SUITE_P(Modes, RestartsIn, kModes,
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(Restarts, OfTheSystemBusHaveAKioskHoldTheMachinesKeysAgain)
{
    test::PrivateBus bus;
    m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus.address());
    std::optional<StandInService> logind(std::in_place, bus, test::kLogind);
    startAs(u"kiosk"_s);
    ASSERT_TRUE(logind->gets(kInhibit, 2)); // the displays, and the keys
    logind.reset();
    bus.crash();
    ASSERT_TRUE(m_program.logs(u"system bus: gone; waiting for it to come back"_s));
    bus.startAgain();
    logind.emplace(bus, test::kLogind);
    EXPECT_TRUE(logind->gets(kInhibit, 2));
    EXPECT_TRUE(m_program.logs(kLockedAnew, 2));
    EXPECT_TRUE(becomes([this] { return isCovered(); }));
}

// Whoever asked one that only seems to be back would wait for ever.
TEST_F(Restarts, OfTheBusCountOnceItAnswers)
{
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    startAs(u"kiosk"_s);
    bus.crash();
    ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    bus.listenInVain();
    EXPECT_FALSE(becomes([this] { return m_program.messages().contains(kAnew); }, 2s));
    EXPECT_TRUE(isCovered());
    bus.startAgain();
    EXPECT_TRUE(m_program.logs(kLockedAnew, 2));
    EXPECT_TRUE(isUpAs(u"kiosk"_s, 2));
}

TEST_F(Restarts, OfABusThatHungFromTheStartHaveItAskForAllThen)
{
    test::PrivateBus bus;
    bus.hang();
    m_program.setSessionBus(bus);
    startAs(u"kiosk"_s);
    EXPECT_TRUE(m_program.messages().contains(
        u"session bus: does not answer; going on without it until it does"_s));
    bus.goOn();
    StandInService saver(bus, u"org.freedesktop.ScreenSaver"_s);
    saver.setAnswer(kInhibit, QVariantList{42U});
    EXPECT_TRUE(isUpAs(u"kiosk"_s, 2));
    EXPECT_TRUE(saver.gets(kInhibit));
}

TEST_F(Restarts, OfASystemBusThatHungFromTheStartHaveItAskForAllThen)
{
    test::PrivateBus bus;
    bus.hang();
    m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus.address());
    startAs(u"kiosk"_s);
    EXPECT_TRUE(m_program.messages().contains(
        u"system bus: does not answer; going on without it until it does"_s));
    bus.goOn();
    StandInService logind(bus, test::kLogind);
    EXPECT_TRUE(isUpAs(u"kiosk"_s, 2));
    EXPECT_TRUE(logind.gets(kInhibit, 2)); // the displays, and the keys
}

// One that never was there is no loss that the other's return would have to wait for.
TEST_F(Restarts, OfTheSessionBusDoNotWaitForASystemBusThatHungFromTheStart)
{
    test::PrivateBus session;
    test::PrivateBus system;
    system.hang();
    m_program.setSessionBus(session);
    m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, system.address());
    startAs(u"kiosk"_s);
    session.crash();
    ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    session.startAgain();
    EXPECT_TRUE(isUpAs(u"kiosk"_s, 2));
}

// As where its settings were damaged.
TEST_F(Restarts, OfTheBusLeaveAKioskLockedWhoseModeWasLost)
{
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    startAs(u"kiosk"_s);
    m_program.changeSettings({u"delete"_s, u"mode"_s});
    bus.crash();
    ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    bus.startAgain();
    EXPECT_TRUE(m_program.logs(kLockedAnew, 2));
    EXPECT_TRUE(isUpAs(u"kiosk"_s, 2));
}

// It waits for both.
TEST_F(Restarts, OfBothBusesHaveItStartAnewOnce)
{
    test::PrivateBus session;
    test::PrivateBus system;
    m_program.setSessionBus(session);
    m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, system.address());
    startAs(u"wall"_s);
    session.crash();
    system.crash();
    ASSERT_TRUE(m_program.logs(u"system bus: gone; waiting for it to come back"_s));
    session.startAgain();
    EXPECT_FALSE(becomes([this] { return m_program.messages().contains(kAnew); }, 2s));
    system.startAgain();
    EXPECT_TRUE(isUpAs(u"wall"_s, 2));
    EXPECT_EQ(m_program.messages().count(kAnew), 1);
}

// A saver that waits shows no window of its own accord, and its user has chosen nothing anew.
TEST_F(Restarts, OfTheBusLeaveASaverWaitingInSilence)
{
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    m_program.configure({{u"mode"_s, u"saver"_s}, {u"idleMinutes"_s, 60}});
    m_program.start();
    ASSERT_TRUE(becomes([this] { return m_display.client().windows().size() == 1; })); // settings
    bus.crash();
    ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    bus.startAgain();
    ASSERT_TRUE(m_program.logs(u"resident, no windows"_s));
    EXPECT_TRUE(m_display.client().windows().isEmpty());
    m_program.changeSettings({u"write"_s, u"idleMinutes"_s, u"-float"_s, u"0.001"_s});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s));
}

TEST_F(Restarts, OfTheBusLeaveAWallArmed)
{
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    m_program.configure({{u"idleMinutes"_s, 60}});
    const QString armed = u"armed: waiting for 60 min idle, then wall"_s;
    m_program.start({u"--quiet"_s});
    ASSERT_TRUE(m_program.logs(u"resident, no windows"_s));
    test::ChildProcess second({test::ProgramUnderTest::executable(),
                               {u"--action"_s, u"arm"_s},
                               m_program.environment(),
                               {}});
    ASSERT_EQ(second.exitStatus(), 0);
    ASSERT_TRUE(m_program.logs(armed));
    bus.crash();
    ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    bus.startAgain();
    EXPECT_TRUE(m_program.logs(armed, 2));
    m_program.changeSettings({u"write"_s, u"idleMinutes"_s, u"-float"_s, u"0.001"_s});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
}

// Desktops that come up in any order, and managers that are exchanged.
class RestartsOfTheWindowManager : public Restarts, public testing::WithParamInterface<ModeRow>
{
protected:
    // An ordinary window comes up, and what is seen is the wall.
    void expectNothingAbove()
    {
        test::ProgramUnderTest other;
        other.showOn(m_display);
        other.configure({{u"offline"_s, true}});
        const qsizetype before = m_display.client().windows().size();
        other.start();
        ASSERT_TRUE(becomes([&] { return m_display.client().windows().size() > before; }));
        EXPECT_TRUE(becomes([this] { return isCovered(); }));
        EXPECT_FALSE(becomes([this] { return !isCovered(); }, 500ms));
    }
};

TEST_P(RestartsOfTheWindowManager, LeaveTheWallAboveAll)
{
    m_display.startWindowManager();
    startAs(GetParam().mode);
    m_display.killWindowManager();
    EXPECT_TRUE(becomes([this] { return isCovered(); }));
    m_display.startWindowManager();
    EXPECT_TRUE(becomes([this] { return isCovered(); }));
    expectNothingAbove();
    EXPECT_EQ(m_display.client().grabKeyboard(), GetParam().mode == u"wall"_s);
}

TEST_P(RestartsOfTheWindowManager, AndOneThatComesLaterLeaveTheWallAboveAll)
{
    startAs(GetParam().mode);
    m_display.startWindowManager();
    EXPECT_TRUE(becomes([this] { return isCovered(); }));
    expectNothingAbove();
    EXPECT_EQ(m_display.client().grabKeyboard(), GetParam().mode == u"wall"_s);
}

INSTANTIATE_TEST_SUITE_P(Modes, RestartsOfTheWindowManager,
                         testing::Values(ModeRow{"Wall", u"wall"_s}, ModeRow{"Kiosk", u"kiosk"_s}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(Restarts, OfATrayOfTheOlderWayBringTheItemBack)
{
    std::optional<test::X11Tray> tray(m_display.display());
    startAs(u"desktop"_s);
    ASSERT_TRUE(becomes([&] { return tray->docked().has_value(); }));
    tray.reset();
    tray.emplace(m_display.display());
    EXPECT_TRUE(becomes([&] { return tray->docked().has_value(); }));
}

class RestartsOfTheCompositor : public testing::TestWithParam<ModeRow>
{
};

TEST_P(RestartsOfTheCompositor, EndTheProgramAndItSaysSo)
{
    test::HeadlessSway sway({kScreen});
    test::ProgramUnderTest program;
    program.showOn(sway);
    program.configureWall();
    program.configure({{u"mode"_s, GetParam().mode}, {u"idleMinutes"_s, 0.01}});
    program.addClip(u"171"_s, 1);
    program.start();
    ASSERT_TRUE(GetParam().mode == u"desktop"_s
                    ? program.logs(kResident)
                    : program.logs(u"showing on 1 of 1 display(s), mode "_s + GetParam().mode));
    sway.compositor().signal(SIGKILL);
    EXPECT_EQ(program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_TRUE(program.process().errorLines().contains(
        u"The Wayland connection broke. Did the Wayland compositor die?"_s));
}

// As in the session of a machine that is a kiosk and nothing else.
TEST(RestartsUnderACompositor, OfTheSessionBusHaveAKioskLockedAgain)
{
    test::HeadlessSway sway({kScreen});
    test::PrivateBus bus;
    test::ProgramUnderTest program;
    program.showOn(sway);
    program.setSessionBus(bus);
    program.configureWall();
    program.configure({{u"mode"_s, u"kiosk"_s}});
    program.addClip(u"171"_s, 1);
    program.start();
    ASSERT_TRUE(program.logs(kLockedAnew));
    bus.crash();
    ASSERT_TRUE(program.logs(u"session bus: gone; waiting for it to come back"_s));
    bus.startAgain();
    EXPECT_TRUE(program.logs(kLockedAnew, 2));
    EXPECT_TRUE(becomes([&] { return test::seenPattern(sway.picture(0), kScreen).has_value(); }));
}

INSTANTIATE_TEST_SUITE_P(Modes, RestartsOfTheCompositor, kModes,
                         [](const auto &row) { return std::string(row.param.name); });

} // namespace
} // namespace corvella
