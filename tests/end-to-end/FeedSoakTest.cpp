// Years of looking for updates, in seconds: the real program, installed from a bundle, asks a real
// web server again and again while its wall plays, and is offered a newer build each time. What it
// holds must not grow, and nothing is installed under the wall. CORVELLA_FEED_LOOKS sets how often.
#include "end-to-end/BuiltUpdates.h"
#include "settings/Hosts.h"
#include "support/AlteredMachine.h"
#include "support/Holdings.h"
#include "support/PrivateBus.h"
#include "support/Repetitions.h"
#include "support/SpedUpTime.h"
#include "support/Trend.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr auto kBetweenFeedLooks = 1h; // at whether a check is due
constexpr auto kAnotherDay = 25h;
constexpr int kLooksForADownload = 10;

// How much of something may be more at the end, beyond chance.
constexpr double kMostGrowth = 3;
const QMap<QString, double> kMostGrowthOf{{u"memory, KiB"_s, 3000},
                                          {u"X server's memory, KiB"_s, 1000},
                                          {u"X pixmaps' memory, KiB"_s, 200},
                                          {u"mappings"_s, 30}};

enum class DrawnBy { raster, gl };

class FeedSoak : public InstalledCopy, public testing::WithParamInterface<DrawnBy>
{
protected:
    FeedSoak()
    {
        m_program.showOn(m_display);
        m_program.setVariable(u"QT_QPA_PLATFORM"_s, {});
        m_program.setSessionBus(m_bus);
        if (GetParam() == DrawnBy::gl)
            m_program.drawByOpenGl(m_machine);
        m_program.configureWall();
        m_program.configure({{u"offline"_s, false}});
        m_program.addClip(u"171"_s, 1, 8);
        announce();
        m_time.take(m_program);
        // Nobody is asked for imagery but the test's own server, which has none.
        m_program.setVariable(u"CORVELLA_TEST_HOSTS"_s,
                              u"%1=%2"_s.arg(Hosts::origin()).arg(m_server->port()));
        m_program.setVariable(u"LD_PRELOAD"_s,
                              m_program.environment().value(u"LD_PRELOAD"_s)
                                  + QStringLiteral(":" CORVELLA_REDIRECTED_NAMES));
    }

    // What was made ready is gone, and is downloaded, unpacked and tried anew.
    void loseNewBuild() { EXPECT_TRUE(QDir(prefix() + u"/2"_s).removeRecursively()); }

    // Another hour has gone by, and the clock, which is set forth and back by a day, leaves the
    // last check a day behind or ahead: either way one is due, and the feed does not get too old.
    [[nodiscard]] bool looksAgain()
    {
        ++m_looks;
        m_skipped += kBetweenFeedLooks;
        m_time.setClockOff((m_looks % 2 == 0 ? 0h : kAnotherDay) - m_skipped);
        m_time.skip(kBetweenFeedLooks);
        return m_program.logs(u"update: 1.2.0 downloaded; installs on quit"_s, m_looks);
    }

    void takeReading()
    {
        const test::Holdings holdings =
            test::holdingsOf(m_program.process().id(), m_display, m_bus);
        for (auto holding = holdings.cbegin(); holding != holdings.cend(); ++holding)
            m_readings[holding.key()].push_back({double(m_looks), holding.value()});
    }

    const test::VirtualDisplay m_display{QSize(160, 120)};
    const test::PrivateBus m_bus;
    test::AlteredMachine m_machine;
    test::SpedUpTime m_time{60};
    int m_looks = 0;
    std::chrono::hours m_skipped{0};
    QMap<QString, std::vector<test::Point>> m_readings;
};

TEST_P(FeedSoak, HoldsNoMoreAfterYearsOfLooksThanAfterDays)
{
    const int looks = test::repetitions("CORVELLA_FEED_LOOKS", 20);
    m_program.start();
    for (int settling = 0; settling < 5; ++settling)
        ASSERT_TRUE(looksAgain()) << m_looks;
    int downloads = 1;
    for (int i = 0; i < looks; ++i) {
        if (i % kLooksForADownload == 0) {
            loseNewBuild();
            ++downloads;
        }
        ASSERT_TRUE(looksAgain()) << m_looks;
        takeReading();
    }
    for (auto reading = m_readings.cbegin(); reading != m_readings.cend(); ++reading) {
        const test::Trend trend = test::trendOf(reading.value(), test::resolutionOf(reading.key()));
        std::printf("%-20s %12.1f %12.1f %12.3g +- %.2g a look%s\n", qPrintable(reading.key()),
                    trend.level, reading.value().back().y, trend.slope, trend.slopeError,
                    trend.isFlat() ? "" : "  not flat");
        EXPECT_LE(test::trendOf(reading.value()).leastSlope() * looks,
                  kMostGrowthOf.value(reading.key(), kMostGrowth))
            << reading.key().toStdString();
    }
    const QStringList requests = m_server->takeRequests();
    EXPECT_EQ(requests.count(u"GET /appcast.xml 200"_s), m_looks);
    EXPECT_EQ(requests.filter(u".tar.gz 200"_s).size(), downloads);
    EXPECT_EQ(current(), 1) << "it was installed under the wall";
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(current(), 2);
}

INSTANTIATE_TEST_SUITE_P(DrawnBy, FeedSoak, testing::Values(DrawnBy::raster, DrawnBy::gl),
                         [](const auto &row) {
                             return row.param == DrawnBy::raster ? "Raster" : "Gl";
                         });

} // namespace
} // namespace corvella
