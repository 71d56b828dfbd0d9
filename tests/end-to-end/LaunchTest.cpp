// What the program does at launch, by its command line and its settings.
#include "support/AlteredMachine.h"
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sysexits.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr const char *kSelfTestLine =
    "selftest: playlist chooser, back-step, download set, cadence, origin fallback, forward-only "
    "and kiosk update hour ok\n";
const QString kOffline = u"offline or read-only, not refreshing the cache"_s;
const QString kResident = u"desktop mode: resident, no windows"_s;

// A home whose cache needs neither the built-in clip nor the network.
class Launch : public testing::Test
{
protected:
    Launch() { m_program.addClip(u"171"_s, 1, 1); }

    void configure(const QString &mode) const
    {
        m_program.configure({{u"mode"_s, mode}, {u"configured"_s, true}, {u"offline"_s, true}});
    }

    test::ProgramUnderTest m_program;
};

TEST(SelfTest, PrintsItsLineWhateverElseIsAskedFor)
{
    test::ProgramUnderTest program;
    program.start(
        {u"--refresh"_s, u"--prime"_s, u"--start"_s, u"--seconds"_s, u"60"_s, u"--selftest"_s});
    EXPECT_EQ(program.process().exitStatus(), 0);
    EXPECT_EQ(program.process().output(), kSelfTestLine);
    EXPECT_EQ(program.process().errors(), QByteArray());
}

TEST(SelfTest, LeavesNothingBehind)
{
    test::ProgramUnderTest program;
    program.setVariable(u"TMPDIR"_s, program.home());
    const QStringList before = program.content();
    program.start({u"--selftest"_s});
    EXPECT_EQ(program.process().exitStatus(), 0);
    EXPECT_EQ(program.content(), before);
}

TEST(SelfTest, NeedsNeitherAHomeNorADisplayNorANetwork)
{
    test::ProgramUnderTest program;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME",
                             "XDG_CONFIG_DIRS", "XDG_RUNTIME_DIR", "LC_ALL", "TZ", "PATH"})
        program.setVariable(QString::fromLatin1(name), {});
    test::AlteredMachine machine;
    machine.removeNetwork();
    program.setMachine(machine);
    program.start({u"--selftest"_s});
    EXPECT_EQ(program.process().exitStatus(), 0);
    EXPECT_EQ(program.process().output(), kSelfTestLine);
}

TEST_F(Launch, RefreshTouchesNothingWhileOffline)
{
    m_program.configure({{u"offline"_s, true}});
    const QStringList before = m_program.content();
    m_program.start({u"--refresh"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_program.messages(), QStringList{kOffline});
    EXPECT_EQ(m_program.content(), before);
}

TEST_F(Launch, RefreshGoesBeforePrimeAndStart)
{
    m_program.configure({{u"offline"_s, true}});
    m_program.start({u"--start"_s, u"--prime"_s, u"--refresh"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_program.messages(), QStringList{kOffline});
}

TEST_F(Launch, PrimeGoesBeforeStart)
{
    test::VirtualDisplay display(QSize(640, 480));
    test::AlteredMachine machine;
    machine.removeNetwork();
    m_program.setMachine(machine);
    m_program.showOn(display);
    m_program.configureWall();
    m_program.start({u"--start"_s, u"--prime"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(display.client().windowsShown(), 0);
    EXPECT_TRUE(m_program.messages().filter(u"showing on"_s).isEmpty());
}

TEST_F(Launch, SecondsEndTheProgramAfterThatTime)
{
    configure(u"desktop"_s);
    m_program.showOnPlatform(u"offscreen"_s);
    const test::Stopwatch stopwatch;
    m_program.start({u"--seconds"_s, u"1"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_GE(stopwatch.elapsed(), 1s);
    EXPECT_LT(stopwatch.elapsed(), 10s);
}

TEST_F(Launch, NoSecondsOrFewerEndTheProgramAtOnce)
{
    configure(u"desktop"_s);
    m_program.showOnPlatform(u"offscreen"_s);
    for (const QString &seconds : {u"0"_s, u"-5"_s}) {
        m_program.start({u"--seconds"_s, seconds});
        EXPECT_EQ(m_program.process().exitStatus(), 0) << qPrintable(seconds);
        EXPECT_EQ(m_program.messages().count(kResident), 1) << qPrintable(seconds);
    }
}

TEST_F(Launch, TheFirstSecondsCount)
{
    configure(u"desktop"_s);
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start({u"--seconds"_s, u"0.2"_s, u"--seconds"_s, u"600"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

TEST(Seconds, WithoutAUsableNumberNeverEndTheProgram)
{
    const QStringList rows[] = {
        {u"--seconds"_s},
        {u"--seconds"_s, u"soon"_s},
        {u"--seconds"_s, u"soon"_s, u"--seconds"_s, u"0.2"_s},
        {u"--seconds"_s, u"600"_s, u"--seconds"_s, u"0.2"_s},
    };
    // They run side by side, so that one look at the clock does for all.
    std::vector<std::unique_ptr<test::ProgramUnderTest>> programs;
    for (const QStringList &arguments : rows) {
        programs.push_back(std::make_unique<test::ProgramUnderTest>());
        test::ProgramUnderTest &program = *programs.back();
        program.addClip(u"171"_s, 1, 1);
        program.configure({{u"configured"_s, true}, {u"offline"_s, true}});
        program.showOnPlatform(u"offscreen"_s);
        program.start(arguments);
    }
    for (const auto &program : programs)
        EXPECT_TRUE(program->logs(kResident));
    const bool anyEnded = becomes(
        [&] {
            return std::any_of(programs.begin(), programs.end(),
                               [](const auto &program) { return !program->process().isRunning(); });
        },
        1s);
    EXPECT_FALSE(anyEnded);
}

TEST_F(Launch, UnknownOptionsArePassedOver)
{
    configure(u"desktop"_s);
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start({u"stray"_s, u"--Start"_s, u"--start=yes"_s, u"-selftest"_s, u"--REFRESH"_s,
                     u"--seconds"_s, u"0"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    // One comes from another thread, if there is time for it.
    const auto messages = [this] {
        QStringList all = m_program.messages();
        all.removeOne(u"desktop: no stills cached yet"_s);
        return all;
    };
    const QStringList with = messages();
    m_program.start({u"--seconds"_s, u"0"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(messages(), with);
    EXPECT_TRUE(with.contains(kResident));
}

TEST_F(Launch, StartsNoRefreshWhileOffline)
{
    configure(u"desktop"_s);
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start({u"--seconds"_s, u"0"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0) << "and a refresh would have been awaited";
    EXPECT_TRUE(m_program.messages().contains(kResident));
    EXPECT_FALSE(m_program.messages().contains(kOffline));
}

TEST_F(Launch, WithoutAnyDisplayItSaysSoOnceAndFails)
{
    test::AlteredMachine machine;
    machine.removeDevices();
    m_program.setMachine(machine);
    m_program.start({u"--start"_s});
    EXPECT_EQ(m_program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_EQ(m_program.process().errors(),
              "corvella: no display: no X server or Wayland compositor answers and there is no "
              "graphics device\n");
}

TEST_F(Launch, WhatDoesNotAnswerIsNoDisplay)
{
    test::AlteredMachine machine;
    machine.removeDevices();
    m_program.setMachine(machine);
    m_program.setVariable(u"DISPLAY"_s, u":54321"_s);
    m_program.setVariable(u"WAYLAND_DISPLAY"_s, u"wayland-54321"_s);
    m_program.start({u"--start"_s});
    EXPECT_EQ(m_program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_EQ(m_program.messages().filter(u"no display"_s).size(), 1);
}

// Left over from another login of the same user.
TEST_F(Launch, AWaylandDisplayThatIsGoneMakesNoWaylandSession)
{
    test::VirtualDisplay display(QSize(640, 480));
    m_program.showOn(display);
    m_program.setVariable(u"QT_QPA_PLATFORM"_s, {});
    m_program.setVariable(u"WAYLAND_DISPLAY"_s, u"wayland-54321"_s);
    m_program.configureWall();
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    EXPECT_EQ(m_program.messages().filter(u"idle time"_s), QStringList());
}

// On a screen of 1024 x 768 pixels.
class LaunchOnADesktop : public Launch
{
protected:
    LaunchOnADesktop() { m_program.showOn(m_display); }

    // Waits for the settings window, and expects it to be the only one.
    void expectSettingsWindow()
    {
        ASSERT_TRUE(becomes([this] { return !m_display.client().windows().isEmpty(); }));
        const QList<test::XWindow> windows = m_display.client().windows();
        ASSERT_EQ(windows.size(), 1);
        EXPECT_EQ(windows.first().title, u"Corvella");
        EXPECT_LT(windows.first().frame.width(), 1024);
        EXPECT_LT(windows.first().frame.height(), 768);
        EXPECT_TRUE(m_program.messages().filter(u"showing on"_s).isEmpty());
    }

    // Lets the program run for a second and expects no window of it at any time.
    void expectNoWindow(const QStringList &arguments)
    {
        m_program.start(arguments + QStringList{u"--seconds"_s, u"1"_s});
        EXPECT_EQ(m_program.process().exitStatus(), 0);
        EXPECT_EQ(m_display.client().windowsShown(), 0);
        EXPECT_TRUE(m_program.messages().filter(u"showing on"_s).isEmpty());
    }

    test::VirtualDisplay m_display{QSize(1024, 768)};
};

TEST_F(LaunchOnADesktop, FreshInstallationOpensTheSettingsWindow)
{
    m_program.start();
    expectSettingsWindow();
}

TEST_F(LaunchOnADesktop, WallThatWasNeverConfiguredOpensTheSettingsWindow)
{
    m_program.configure({{u"mode"_s, u"wall"_s}, {u"offline"_s, true}});
    m_program.start();
    expectSettingsWindow();
}

TEST_F(LaunchOnADesktop, ConfiguredSaverOpensTheSettingsWindow)
{
    configure(u"saver"_s);
    m_program.start();
    expectSettingsWindow();
}

TEST_F(LaunchOnADesktop, ConfiguredWallAndKioskShowAtOnce)
{
    for (const QString &mode : {u"wall"_s, u"kiosk"_s}) {
        configure(mode);
        m_program.start();
        EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode "_s + mode));
    }
}

TEST_F(LaunchOnADesktop, StartShowsASaverAtOnce)
{
    configure(u"saver"_s);
    m_program.start({u"--start"_s});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s));
}

TEST_F(LaunchOnADesktop, StartShowsAWallThatWasNeverConfigured)
{
    m_program.configure({{u"mode"_s, u"wall"_s}, {u"offline"_s, true}});
    m_program.start({u"--start"_s});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
}

TEST_F(LaunchOnADesktop, ConfiguredDesktopModeStaysWithoutWindows)
{
    configure(u"desktop"_s);
    expectNoWindow({});
    EXPECT_EQ(m_program.messages().count(kResident), 1);
}

TEST_F(LaunchOnADesktop, StartInDesktopModeShowsNothing)
{
    configure(u"desktop"_s);
    expectNoWindow({u"--start"_s});
    EXPECT_EQ(m_program.messages().count(kResident), 0);
}

} // namespace
} // namespace corvella
