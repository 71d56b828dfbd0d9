// Walls keep the displays awake, and let go on every way out.
#include "support/HeadlessSway.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/StandInService.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

const QString kInhibit = u"Inhibit"_s;
const QString kUnInhibit = u"UnInhibit"_s;

class Awake : public testing::Test
{
protected:
    Awake()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    void startWall()
    {
        m_program.start();
        ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    }
    [[nodiscard]] bool isBlanked() { return m_display.client().isBlanked(); }
    [[nodiscard]] bool blanks(std::chrono::milliseconds within = test::kGenerous)
    {
        return becomes([this] { return isBlanked(); }, within);
    }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

TEST_F(Awake, XServerDoesNotBlankUntilTheWallIsTakenDown)
{
    startWall();
    m_display.blankAfter(1s);
    EXPECT_FALSE(blanks(2500ms));
    m_program.process().signal(SIGTERM);
    EXPECT_TRUE(blanks());
}

TEST_F(Awake, XServerBlanksAgainWhenTheProgramIsKilled)
{
    startWall();
    m_display.blankAfter(1s);
    EXPECT_FALSE(blanks(2500ms));
    m_program.process().signal(SIGKILL);
    EXPECT_TRUE(blanks());
}

TEST_F(Awake, SaverLetsTheXServerBlank)
{
    m_program.configure({{u"mode"_s, u"saver"_s}, {u"idleMinutes"_s, 0.001}});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s));
    m_display.blankAfter(1s);
    EXPECT_TRUE(blanks());
}

class AwakeOnABus : public Awake
{
protected:
    AwakeOnABus()
    {
        m_program.setSessionBus(m_bus);
        m_saver.setAnswer(kInhibit, QVariantList{42U});
        m_saver.setAnswer(kUnInhibit, QVariantList{});
    }

    [[nodiscard]] bool gets(const QString &method)
    {
        return becomes([&] { return m_saver.calls(method).size() == 1; });
    }

    const test::PrivateBus m_bus;
    test::StandInService m_saver{m_bus, u"org.freedesktop.ScreenSaver"_s};
};

TEST_F(AwakeOnABus, InhibitionIsGivenBackAtTheEnd)
{
    startWall();
    ASSERT_TRUE(gets(kInhibit));
    EXPECT_EQ(m_saver.calls().last().arguments.value(1), u"Corvella is displaying"_s);
    // It has its answer by the time that it has answered this, over the same bus.
    test::ChildProcess again({test::ProgramUnderTest::executable(),
                              {u"--action"_s, u"start"_s},
                              m_program.environment(),
                              m_program.home()});
    EXPECT_EQ(again.exitStatus(), 0);
    m_program.process().signal(SIGTERM);
    EXPECT_TRUE(gets(kUnInhibit));
    EXPECT_EQ(m_saver.calls().last().arguments, QVariantList{42U});
}

TEST_F(AwakeOnABus, SaverInhibitsNothing)
{
    m_program.configure({{u"mode"_s, u"saver"_s}, {u"idleMinutes"_s, 0.001}});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s));
    EXPECT_FALSE(becomes([this] { return !m_saver.calls().isEmpty(); }, 500ms));
}

TEST_F(AwakeOnABus, KilledProgramLeavesTheBusAndWithItTheInhibition)
{
    startWall();
    ASSERT_TRUE(gets(kInhibit));
    EXPECT_TRUE(m_saver.isCallerThere());
    m_program.process().signal(SIGKILL);
    EXPECT_TRUE(becomes([this] { return !m_saver.isCallerThere(); }));
}

TEST_F(AwakeOnABus, ServiceThatHangsStopsNeitherTheWallNorItsEnd)
{
    m_saver.setAnswer(kInhibit, test::StandInService::Silence{});
    startWall();
    ASSERT_TRUE(gets(kInhibit));
    const test::Stopwatch stopwatch;
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_LT(stopwatch.elapsed(), 2s);
}

// What tells of idleness in a compositor, when it comes to that.
class IdlenessWatch
{
public:
    explicit IdlenessWatch(const test::HeadlessSway &sway)
        : m_process(sway.commandHere(u"swayidle"_s, {u"timeout"_s, u"1"_s, u"echo idle"_s}))
    {
    }
    [[nodiscard]] bool sees(std::chrono::milliseconds within = test::kGenerous)
    {
        return becomes([this] { return m_process.output().contains("idle"); }, within);
    }

private:
    test::ChildProcess m_process;
};

class AwakeOnSway : public testing::Test
{
protected:
    AwakeOnSway()
    {
        m_program.showOn(m_sway);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    test::HeadlessSway m_sway{{QRect(0, 0, 640, 480), QRect(640, 0, 640, 480)}};
    test::ProgramUnderTest m_program;
};

TEST_F(AwakeOnSway, CompositorIsNotIdleUntilTheProgramIsKilled)
{
    ASSERT_TRUE(IdlenessWatch(m_sway).sees());
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    IdlenessWatch watch(m_sway);
    EXPECT_FALSE(watch.sees(3s));
    m_program.process().signal(SIGKILL);
    EXPECT_TRUE(watch.sees());
}

// Walls that are built anew have other surfaces.
TEST_F(AwakeOnSway, CompositorIsNotIdleAfterTheDisplaysChange)
{
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    m_sway.change(0, QSize(800, 600), 1);
    ASSERT_TRUE(m_program.logs(u"display layout changed (2 -> 2)"_s));
    IdlenessWatch watch(m_sway);
    EXPECT_FALSE(watch.sees(3s));
    m_program.process().signal(SIGTERM);
    EXPECT_TRUE(watch.sees());
}

// As long as the compositor does it, it does not tell the idle time.
TEST_F(AwakeOnSway, CompositorIsLetGoWhenADesktopComesThatKeepsTheDisplaysOn)
{
    const test::PrivateBus bus;
    m_program.setSessionBus(bus);
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    test::StandInService desktop(bus, u"org.freedesktop.ScreenSaver"_s);
    desktop.setAnswer(kInhibit, QVariantList{42U});
    ASSERT_TRUE(desktop.gets(kInhibit));
    EXPECT_TRUE(IdlenessWatch(m_sway).sees());
}

} // namespace
} // namespace corvella
