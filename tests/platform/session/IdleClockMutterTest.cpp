// The idle time as GNOME's compositor tells it, from a stand-in on a real bus.
#include "platform/session/IdleClock.h"
#include "support/CapturedLog.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

#include <gtest/gtest.h>
#include <limits>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

const QString kName = u"org.gnome.Mutter.IdleMonitor"_s;
const QString kMethod = u"GetIdletime"_s;

class IdleClockMutter : public testing::Test
{
protected:
    void startMutter()
    {
        m_mutter = std::make_unique<test::StandInService>(m_buses.session, kName);
    }
    void tell(qulonglong milliseconds) { m_mutter->setAnswer(kMethod, QVariantList{milliseconds}); }
    [[nodiscard]] bool tells(double seconds)
    {
        return becomes([&] {
            const double told = m_clock->secondsIdle();
            return told >= seconds && told < seconds + 1;
        });
    }
    [[nodiscard]] bool countsNobodyAsIdle() { return !m_clock->isIdleFor(0); }
    [[nodiscard]] int complaints()
    {
        return static_cast<int>(m_log.messages().filter(u"idle time"_s).size());
    }

    test::TestBuses m_buses;
    test::CapturedLog m_log;
    std::unique_ptr<test::StandInService> m_mutter;
    std::unique_ptr<IdleClock> m_clock = createIdleClockMutter();
};

TEST_F(IdleClockMutter, TellsSecondsFromMilliseconds)
{
    startMutter();
    tell(7'000);
    EXPECT_TRUE(tells(7));
    tell(0);
    EXPECT_TRUE(tells(0));
    const test::StandInService::Call expected{
        u"/org/gnome/Mutter/IdleMonitor/Core"_s, kName, kMethod, {}};
    EXPECT_EQ(m_mutter->calls().value(0), expected);
    EXPECT_EQ(complaints(), 0);
}

TEST_F(IdleClockMutter, GoesOnByItselfBetweenAnswers)
{
    startMutter();
    tell(7'000);
    ASSERT_TRUE(tells(7));
    m_mutter->setAnswer(kMethod, test::StandInService::Silence{});
    EXPECT_TRUE(becomes([this] { return m_clock->secondsIdle() >= 7.5; }));
}

TEST_F(IdleClockMutter, AsksOneQuestionAtATimeAndNeverWaits)
{
    startMutter();
    m_mutter->setAnswer(kMethod, test::StandInService::Silence{});
    const test::Stopwatch stopwatch;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(countsNobodyAsIdle());
    EXPECT_LT(stopwatch.elapsed(), 500ms);
    ASSERT_TRUE(becomes([this] { return !m_mutter->calls().isEmpty(); }));
    EXPECT_FALSE(becomes(
        [this] {
            EXPECT_TRUE(countsNobodyAsIdle());
            return m_mutter->calls().size() > 1;
        },
        500ms));
}

TEST_F(IdleClockMutter, CountsNobodyAsIdleWhileTheServiceHangs)
{
    startMutter();
    tell(100'000);
    ASSERT_TRUE(tells(100));
    m_mutter->setAnswer(kMethod, test::StandInService::Silence{});
    EXPECT_TRUE(becomes([this] { return countsNobodyAsIdle(); }));
    EXPECT_TRUE(becomes([this] {
        EXPECT_TRUE(countsNobodyAsIdle());
        return m_mutter->calls().size() >= 3;
    }));
    EXPECT_EQ(complaints(), 1);
    tell(3'000);
    EXPECT_TRUE(tells(3));
}

TEST_F(IdleClockMutter, TrustsNoAnswerFromLongAgo)
{
    startMutter();
    tell(7'000);
    ASSERT_TRUE(tells(7));
    // Somebody comes while nobody asks.
    tell(0);
    const test::Stopwatch sinceAsked;
    EXPECT_TRUE(becomes([&] { return sinceAsked.elapsed() > 3500ms; }));
    EXPECT_TRUE(countsNobodyAsIdle());
}

TEST_F(IdleClockMutter, CountsNobodyAsIdleWhenTheServiceDies)
{
    startMutter();
    tell(100'000);
    ASSERT_TRUE(tells(100));
    m_mutter.reset();
    EXPECT_TRUE(becomes([this] { return countsNobodyAsIdle(); }));
    startMutter();
    tell(3'000);
    EXPECT_TRUE(tells(3));
    EXPECT_EQ(complaints(), 1);
}

TEST_F(IdleClockMutter, TellsOfInputHereWhileTheServiceIsSilent)
{
    EXPECT_TRUE(becomes([this] { return m_clock->secondsIdle() > 0.2; }));
    QWindow window;
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &key);
    EXPECT_LT(m_clock->secondsIdle(), 0.2);
}

TEST(IdleTimeOfAnXServer, GoesOnWhereTheServerBeginsAnew)
{
    constexpr uint32_t kEnd = 4'294'967'295; // ms
    const double kRound = 4'294'967.296;
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(1'500, std::numeric_limits<double>::infinity()), 1.5);
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(1'750, 1.75), 1.75);
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(kEnd, 4'294'967.295), 4'294'967.295);
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(200, kRound + 0.25), kRound + 0.2);
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(5'000, 3 * kRound + 5.1), 3 * kRound + 5);
    // Somebody came.
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(200, 3'000'000), 0.2);
    EXPECT_DOUBLE_EQ(secondsIdleOfServer(200, 2 * kRound + 90), 0.2);
}

TEST_F(IdleClockMutter, LogsOnceThatTheServiceRefuses)
{
    startMutter();
    m_mutter->setAnswer(kMethod, test::StandInService::Error{u"org.x.Broken"_s, u"broken"_s});
    EXPECT_TRUE(becomes([this] {
        EXPECT_TRUE(countsNobodyAsIdle());
        return m_mutter->calls().size() > 5;
    }));
    EXPECT_EQ(m_log.messages().filter(u"broken"_s).size(), 1);
}

TEST_F(IdleClockMutter, StartsNoService)
{
    m_buses.session.offerToStart(kName);
    EXPECT_TRUE(countsNobodyAsIdle());
    EXPECT_TRUE(becomes([this] { return complaints() == 1; }));
    EXPECT_FALSE(m_buses.session.wasAskedToStartAny());
}

} // namespace
} // namespace corvella
