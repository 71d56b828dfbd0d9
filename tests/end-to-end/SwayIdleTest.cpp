// How long there was no input, as a window of ours learns it under a Wayland compositor.
#include "support/HeadlessSway.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

class SwayIdle : public testing::Test
{
protected:
    void start(const QStringList &arguments)
    {
        test::Command command = m_sway.commandHere(QStringLiteral(CORVELLA_IDLE_PROBE), arguments);
        command.environment.insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
        for (const QString &bus : {u"DBUS_SESSION_BUS_ADDRESS"_s, u"DBUS_SYSTEM_BUS_ADDRESS"_s})
            command.environment.insert(bus, u"unix:path=/nonexistent"_s);
        m_probe.emplace(command);
    }

    // All that was told so far.
    [[nodiscard]] QList<double> told()
    {
        QList<double> seconds;
        for (const QByteArray &line : m_probe->output().trimmed().split('\n'))
            seconds << line.toDouble();
        return seconds;
    }
    [[nodiscard]] double secondsIdle() { return told().last(); }

    void expectItGrowsAndEndsWithAKey()
    {
        ASSERT_TRUE(becomes([this] { return secondsIdle() >= 3; }));
        // One that comes together with its keyboard may be lost on the window.
        EXPECT_TRUE(becomes([this] {
            m_sway.typeKey(u"a"_s);
            return secondsIdle() < 1;
        }));
        EXPECT_TRUE(becomes([this] { return secondsIdle() >= 3; }));
    }

    test::HeadlessSway m_sway{{QRect(0, 0, 640, 480)}};
    std::optional<test::ChildProcess> m_probe;
};

TEST_F(SwayIdle, IsToldByTheCompositor)
{
    start({});
    expectItGrowsAndEndsWithAKey();
}

// The compositor says nothing then; the window itself sees whether somebody is there.
TEST_F(SwayIdle, IsKnownToAWindowThatKeepsTheDisplayAwake)
{
    start({u"0"_s});
    expectItGrowsAndEndsWithAKey();
}

// A wall that comes up by itself is no input.
TEST_F(SwayIdle, GoesOnWhenAWindowBeginsToKeepTheDisplayAwake)
{
    start({u"3"_s});
    ASSERT_TRUE(becomes([this] { return secondsIdle() >= 3; }));
    EXPECT_FALSE(becomes([this] { return secondsIdle() < 3; }, 1s));
    EXPECT_GE(secondsIdle(), 3.5);
}

// What the window saw is not forgotten with it.
TEST_F(SwayIdle, GoesOnWhenAWindowNoLongerKeepsTheDisplayAwake)
{
    start({u"2"_s, u"once"_s});
    ASSERT_TRUE(becomes([this] { return secondsIdle() >= 3; }));
    QList<double> seconds;
    ASSERT_TRUE(becomes([&] {
        m_sway.typeKey(u"a"_s);
        seconds = told();
        return !std::is_sorted(seconds.begin(), seconds.end());
    }));
    const auto input = std::is_sorted_until(seconds.begin(), seconds.end());
    EXPECT_LT(*std::max_element(input, seconds.end()), 2);
}

} // namespace
} // namespace corvella
