// The program started while it runs already.
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sysexits.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

enum class Meeting { bus, runtimeFolder };

class SecondStart : public testing::TestWithParam<Meeting>
{
protected:
    SecondStart()
    {
        m_program.showOn(m_display);
        if (GetParam() == Meeting::bus)
            m_program.setSessionBus(m_bus);
        m_program.addClip(u"171"_s, 1);
        configure(u"desktop"_s);
    }

    void configure(const QString &mode) const
    {
        m_program.configure({{u"mode"_s, mode}, {u"configured"_s, true}, {u"offline"_s, true}});
    }
    void startFirst()
    {
        m_program.start();
        ASSERT_TRUE(m_program.logs(u"desktop mode: resident, no windows"_s));
    }

    // Starts it once more: its exit status.
    std::optional<int> startAgain(const QStringList &arguments = {})
    {
        test::ChildProcess second({test::ProgramUnderTest::executable(), arguments,
                                   m_program.environment(), m_program.home()});
        return second.exitStatus(10s);
    }
    [[nodiscard]] bool hasSettingsWindow()
    {
        return becomes([this] { return m_display.client().windows().size() == 1; });
    }

    test::VirtualDisplay m_display{QSize(1024, 900)};
    test::PrivateBus m_bus;
    test::ProgramUnderTest m_program;
};

TEST_P(SecondStart, RaisesTheFirstOnesSettingsAndSucceeds)
{
    startFirst();
    EXPECT_TRUE(m_display.client().windows().isEmpty());
    EXPECT_EQ(startAgain(), 0);
    EXPECT_TRUE(hasSettingsWindow());
    EXPECT_TRUE(m_program.process().isRunning());
}

// Some window managers heed no wish but the user's: for them nobody has touched the first one.
TEST_P(SecondStart, BringsTheFirstOnesSettingsToTheFrontInTheUsersName)
{
    startFirst();
    EXPECT_EQ(m_display.client().activationsForUser(), 0);
    for (const int times : {1, 2}) {
        EXPECT_EQ(startAgain(), 0);
        EXPECT_TRUE(becomes([&] {
            return hasSettingsWindow() && m_display.client().activationsForUser() == times;
        }));
    }
}

// From a shell without a bus beside a session's own start; or the bus was down at the first start.
TEST_P(SecondStart, MeetsAFirstOneThatHasABusOrHasNone)
{
    startFirst();
    if (GetParam() == Meeting::bus)
        m_program.setVariable(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s);
    else
        m_program.setSessionBus(m_bus);
    for (int i = 0; i < 2; ++i) { // it keeps nothing of the first one's
        EXPECT_EQ(startAgain(), 0);
        EXPECT_TRUE(hasSettingsWindow());
    }
    EXPECT_EQ(startAgain({u"--action"_s, u"quit"_s}), 0);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

// A trial beside an installed copy, as ./run makes it.
TEST_P(SecondStart, IsAFirstOneWhereItsSettingsLieElsewhere)
{
    startFirst();
    test::ProgramUnderTest trial;
    trial.showOn(m_display);
    if (GetParam() == Meeting::bus)
        trial.setSessionBus(m_bus);
    trial.addClip(u"171"_s, 1);
    trial.setVariable(u"HOME"_s, m_program.home());
    trial.setVariable(u"XDG_RUNTIME_DIR"_s, m_program.environment().value(u"XDG_RUNTIME_DIR"_s));
    trial.configureWall();
    trial.start();
    EXPECT_TRUE(trial.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    // Each is reached by what has its settings.
    EXPECT_EQ(startAgain({u"--action"_s, u"quit"_s}), 0);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_TRUE(trial.process().isRunning());
}

TEST_P(SecondStart, StartsTheFirstOnesWallsWhenItIsToldTo)
{
    startFirst();
    m_program.changeSettings({u"write"_s, u"mode"_s, u"wall"_s});
    EXPECT_EQ(startAgain({u"--start"_s}), 0);
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    EXPECT_EQ(startAgain(), 0);
    EXPECT_FALSE(becomes([this] { return m_display.client().windows().size() > 1; }, 500ms));
}

TEST_P(SecondStart, EndsTheFirstWhenItIsToldTo)
{
    startFirst();
    EXPECT_EQ(startAgain({u"--action"_s, u"quit"_s}), 0);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    // And nobody is started for that alone.
    EXPECT_EQ(startAgain({u"--action"_s, u"quit"_s}), 0);
}

TEST_P(SecondStart, IsTheFirstAgainAfterACrash)
{
    startFirst();
    m_program.process().signal(SIGKILL);
    EXPECT_FALSE(m_program.process().exitStatus().has_value());
    startFirst();
    EXPECT_EQ(startAgain(), 0);
    EXPECT_TRUE(hasSettingsWindow());
}

TEST_P(SecondStart, SaysThatTheFirstHangsAndTakesNothingOver)
{
    startFirst();
    m_program.process().signal(SIGSTOP);
    EXPECT_EQ(startAgain(), EX_UNAVAILABLE);
    m_program.process().signal(SIGCONT);
    EXPECT_TRUE(hasSettingsWindow()); // it was only slow
}

TEST_P(SecondStart, OneShotsAndTheSelfTestDoTheirWorkBesideIt)
{
    startFirst();
    EXPECT_EQ(startAgain({u"--refresh"_s}), 0);
    EXPECT_EQ(startAgain({u"--selftest"_s}), 0);
    EXPECT_FALSE(becomes([this] { return !m_display.client().windows().isEmpty(); }, 300ms));
}

INSTANTIATE_TEST_SUITE_P(MeetBy, SecondStart, testing::Values(Meeting::bus, Meeting::runtimeFolder),
                         [](const auto &row) {
                             return row.param == Meeting::bus ? "Bus" : "RuntimeFolder";
                         });

} // namespace
} // namespace corvella
