// The machine sleeps for hours, or the program is stopped for as long: what is seen afterwards.
#include "support/AlteredMachine.h"
#include "support/NginxServer.h"
#include "support/ProgramUnderTest.h"
#include "support/SpedUpTime.h"
#include "support/StandInService.h"
#include "support/TestAuthority.h"
#include "support/TestBuses.h"
#include "support/TestImageryHost.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QFile>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr int kPictures = 150; // of each clip, 30 a second
constexpr QRect kMonitor(0, 0, 640, 480);
constexpr QRect kDocked(640, 0, 640, 480);
constexpr auto kNight = 8h;
constexpr auto kSoonEnough = 2s; // from the resumption to the right picture

enum class DrawnBy { raster, gl };
enum class Kind {
    asleep,  // what counts the machine's time stands still, what tells the time of day does not
    stopped, // both go on
};

class Suspend : public testing::Test
{
protected:
    explicit Suspend(DrawnBy renderer = DrawnBy::raster)
    {
        m_display.plugIn(u"left"_s, kMonitor);
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"kiosk"_s}});
        m_program.addClip(u"171"_s, 1, kPictures);
        m_program.addClip(u"193"_s, 2, kPictures);
        if (renderer == DrawnBy::gl)
            m_program.drawByOpenGl(m_machine);
        m_time.take(m_program);
    }
    ~Suspend() override { m_program.process().signal(SIGCONT); }

    void start()
    {
        m_program.start();
        ASSERT_TRUE(m_program.logs(u"kiosk: locked"_s));
        ASSERT_TRUE(becomes([this] { return seenOn(kMonitor).has_value(); }));
    }
    [[nodiscard]] std::optional<test::SeenPattern> seenOn(const QRect &monitor)
    {
        const auto seen = test::seenPattern(m_display.client().picture(), monitor);
        return seen && seen->isWhole ? seen : std::nullopt;
    }
    [[nodiscard]] bool isStopped()
    {
        QFile file(u"/proc/%1/stat"_s.arg(m_program.process().id()));
        return file.open(QIODevice::ReadOnly) && file.readAll().contains(") T ");
    }

    // Lets the night go by; `meanwhile` is what happens in it.
    void sleepThroughTheNight(
        Kind kind, const std::function<void()> &meanwhile = [] {})
    {
        m_program.process().signal(SIGSTOP);
        ASSERT_TRUE(becomes([this] { return isStopped(); }));
        meanwhile();
        if (kind == Kind::asleep)
            m_time.setClockOff(m_slept += kNight);
        else
            m_time.skip(kNight);
        m_program.process().signal(SIGCONT);
    }

    // How long it is until something holds; the quickest of a few nights counts, since what else
    // the machine does only ever adds to it.
    template <typename Night> [[nodiscard]] static std::chrono::nanoseconds quickest(Night night)
    {
        std::chrono::nanoseconds quickest = std::chrono::nanoseconds::max();
        for (int tries = 3; tries > 0 && quickest > kSoonEnough; --tries)
            quickest = std::min(quickest, night());
        return quickest;
    }

    test::VirtualDisplay m_display{QSize(1280, 480)};
    test::AlteredMachine m_machine;
    test::SpedUpTime m_time{1};
    test::ProgramUnderTest m_program;
    std::chrono::nanoseconds m_slept{0};
};

struct Row
{
    const char *name;
    DrawnBy renderer;
    Kind kind;
};

class SuspendOf : public Suspend, public testing::WithParamInterface<Row>
{
protected:
    SuspendOf()
        : Suspend(GetParam().renderer)
    {
    }
};

// Not one picture of what was missed is hurried through, and nobody gets past it.
TEST_P(SuspendOf, PlaysOnFromWhereItWas)
{
    constexpr int kFramesPerSecond = 30;
    constexpr int kLeastLeft = 3 * kFramesPerSecond; // of the clip, to look at
    constexpr int kFramesOfMargin = kFramesPerSecond / 2;
    start();
    EXPECT_LE(quickest([&] {
                  std::optional<test::SeenPattern> before;
                  EXPECT_TRUE(becomes([&] {
                      before = seenOn(kMonitor);
                      return before && before->frame < kPictures - kLeastLeft;
                  }));
                  const qsizetype ended = m_program.messages().filter(u"clip ended"_s).size();
                  sleepThroughTheNight(GetParam().kind);
                  const test::Stopwatch sinceResumption;
                  std::optional<test::SeenPattern> seen;
                  EXPECT_TRUE(becomes([&] {
                      seen = seenOn(kMonitor);
                      return seen && seen->frame != before->frame;
                  }));
                  const auto took = sinceResumption.elapsed();
                  const auto isInTime = [&] {
                      const int due = before->frame + kFramesOfMargin
                          + static_cast<int>(kFramesPerSecond * sinceResumption.elapsed() / 1s);
                      return seen->clip == before->clip && seen->frame > before->frame
                          && seen->frame <= due;
                  };
                  EXPECT_FALSE(becomes(
                      [&] {
                          seen = seenOn(kMonitor);
                          return seen && !isInTime();
                      },
                      1s))
                      << "from picture " << before->frame << " to " << (seen ? seen->frame : -1);
                  EXPECT_EQ(m_program.messages().filter(u"clip ended"_s).size(), ended);
                  return took;
              }),
              kSoonEnough);
    EXPECT_FALSE(m_display.client().grabKeyboard());
    EXPECT_FALSE(m_display.client().grabPointer());
}

// Docked in the evening, undocked in the morning: the walls are made anew, and with them what draws
// them.
TEST_P(SuspendOf, FollowsTheDisplaysThatChangedMeanwhile)
{
    start();
    bool isDocked = false;
    EXPECT_LE(quickest([&] {
                  isDocked = !isDocked;
                  sleepThroughTheNight(GetParam().kind, [&] {
                      if (isDocked)
                          m_display.plugIn(u"right"_s, kDocked);
                      else
                          m_display.pullOut(u"right"_s);
                  });
                  const test::Stopwatch sinceResumption;
                  EXPECT_TRUE(becomes([&] {
                      return m_display.client().windows().size() == (isDocked ? 2 : 1)
                          && seenOn(kMonitor) && (!isDocked || seenOn(kDocked));
                  }));
                  return sinceResumption.elapsed();
              }),
              kSoonEnough);
}

INSTANTIATE_TEST_SUITE_P(Rows, SuspendOf,
                         testing::Values(Row{"RasterAsleep", DrawnBy::raster, Kind::asleep},
                                         Row{"RasterStopped", DrawnBy::raster, Kind::stopped},
                                         Row{"GlAsleep", DrawnBy::gl, Kind::asleep},
                                         Row{"GlStopped", DrawnBy::gl, Kind::stopped}),
                         [](const auto &row) { return row.param.name; });

// A host that has news by the time the program wakes up.
class SuspendOnline : public Suspend
{
protected:
    SuspendOnline()
    {
        m_host.setGenerated({});
        offer(test::TestImageryHost::kStamp);
        m_program.setVariable(u"SSL_CERT_FILE"_s, m_authority.certificate());
        m_program.configure({{u"offline"_s, false},
                             {u"products"_s, QJsonArray{u"171"_s}},
                             {u"refreshMinutes"_s, 720},
                             {u"imageryHost"_s, m_server.host()}});
    }

    void offer(const QString &stamp)
    {
        QFile clip(m_program.clipPath(u"171"_s));
        EXPECT_TRUE(clip.open(QIODevice::ReadOnly));
        m_host.offer(u"171"_s, stamp);
        m_host.write(u"v/171/%1.mp4"_s.arg(stamp), clip.readAll());
    }
    void startAndSleepTwoNights(Kind kind) // it looks every twelve hours
    {
        m_program.start();
        ASSERT_TRUE(becomes([this] { return hasNews(1); }));
        offer(u"20261001T000000"_s);
        sleepThroughTheNight(kind);
        sleepThroughTheNight(kind);
    }
    [[nodiscard]] bool hasNews(int times)
    {
        return m_program.messages().filter(u"pass: checked, 1 clips moved"_s).size() == times;
    }

    test::TestImageryHost m_host{{u"171"_s}};
    const test::TestAuthority m_authority;
    const test::NginxServer m_server{m_authority.issue({u"localhost"_s}), m_host.folder()};
};

TEST_F(SuspendOnline, LooksForNewsAtOnceWhereItsOwnTimeWentOn)
{
    startAndSleepTwoNights(Kind::stopped);
    EXPECT_TRUE(becomes([this] { return hasNews(2); }));
    EXPECT_TRUE(becomes([this] { return seenOn(kMonitor).has_value(); }));
}

TEST_F(SuspendOnline, LooksForNewsSoonAfterLogindHasToldOfTheEnd)
{
    const test::PrivateBus bus;
    test::StandInService logind(bus, test::kLogind);
    m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus.address());
    startAndSleepTwoNights(Kind::asleep);
    EXPECT_FALSE(becomes([this] { return hasNews(2); }, 500ms)) << "nobody has told it yet";
    logind.tell(u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s,
                u"PrepareForSleep"_s, {false});
    // Some seconds are left to the network, a minute at most.
    for (auto waited = 0s; waited < 60s && !hasNews(2); waited += 5s) {
        m_time.skip(5s);
        (void)becomes([this] { return hasNews(2); }, 500ms);
    }
    EXPECT_TRUE(hasNews(2));
    EXPECT_TRUE(becomes([this] { return seenOn(kMonitor).has_value(); }));
}

TEST_F(SuspendOnline, LooksForNewsWithTheNextHourThatItCountsWhereThereIsNoLogind)
{
    startAndSleepTwoNights(Kind::asleep);
    m_time.skip(1h);
    EXPECT_TRUE(becomes([this] { return hasNews(2); }));
}

} // namespace
} // namespace corvella
