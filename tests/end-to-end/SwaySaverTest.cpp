// A screen saver under a Wayland compositor: it comes by the compositor's own word of idleness.
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

class SwaySaver : public testing::Test
{
protected:
    SwaySaver()
    {
        m_program.showOn(m_sway);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"saver"_s}, {u"lockOnDismiss"_s, false}});
        m_program.addClip(u"171"_s, 1);
    }

    void setIdleTime(std::chrono::duration<double> time) const
    {
        const std::chrono::duration<double, std::ratio<60>> minutes = time;
        m_program.configure({{u"idleMinutes"_s, minutes.count()}});
    }

    const QString kShowing = u"showing on 1 of 1 display(s), mode saver"_s;
    test::HeadlessSway m_sway{{QRect(0, 0, 640, 480)}};
    test::ProgramUnderTest m_program;
};

TEST_F(SwaySaver, ComesAfterTheIdleTime)
{
    setIdleTime(3s);
    const test::Stopwatch sinceStart;
    m_program.start();
    ASSERT_TRUE(m_program.logs(kShowing));
    EXPECT_GE(sinceStart.elapsed(), 3s);
    EXPECT_LT(sinceStart.elapsed(), 8s);
}

TEST_F(SwaySaver, WaitsAnewAfterAKey)
{
    setIdleTime(4s);
    m_program.start();
    EXPECT_FALSE(m_program.messages().contains(kShowing));
    EXPECT_FALSE(becomes([this] { return m_program.messages().contains(kShowing); }, 2500ms));
    m_sway.typeKey(u"a"_s);
    const test::Stopwatch sinceKey;
    ASSERT_TRUE(m_program.logs(kShowing));
    EXPECT_GE(sinceKey.elapsed(), 3500ms); // the key came half a second before the clock at most
}

// Which these displays refuse: what is seen is that they are asked.
class SwaySaverThatLocks : public SwaySaver
{
protected:
    SwaySaverThatLocks()
    {
        m_program.setVariable(u"WAYLAND_DEBUG"_s, u"client"_s);
        m_program.configure({{u"lockOnDismiss"_s, true}});
    }

    void dismissAndAwaitDarkness()
    {
        setIdleTime(1200ms);
        m_program.start();
        ASSERT_TRUE(m_program.logs(kShowing));
        setIdleTime(1h);
        // A key is lost on a window that has just come. There is nobody here to lock, which is
        // said.
        ASSERT_TRUE(becomes([this] {
            m_sway.typeKey(u"a"_s);
            return !m_program.messages().filter(u"session lock"_s).isEmpty();
        }));
        ASSERT_TRUE(becomes([this] { return asks(kOff); }));
        EXPECT_FALSE(asks(kOn));
    }

    [[nodiscard]] bool asks(const char *what)
    {
        return m_program.process().errors().contains(what);
    }

    static constexpr const char *kOff = ".set_mode(0)";
    static constexpr const char *kOn = ".set_mode(1)";
};

TEST_F(SwaySaverThatLocks, WakesTheDisplayWithTheNextInput)
{
    dismissAndAwaitDarkness();
    m_sway.typeKey(u"a"_s);
    EXPECT_TRUE(becomes([this] { return asks(kOn); }));
}

TEST_F(SwaySaverThatLocks, WakesTheDisplayWhenItIsEnded)
{
    dismissAndAwaitDarkness();
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_TRUE(asks(kOn));
}

} // namespace
} // namespace corvella
