// Months on a wall, in minutes: the real program with its clocks sped up hands over from clip to
// clip while new imagery comes in, displays come and go and the mode changes. What it holds must
// not grow, no picture may be black or stand still, and its log stays short. CORVELLA_SOAK_ROUNDS
// sets how long that goes on; tests/soak runs the long form.
#include "support/AlteredMachine.h"
#include "support/Holdings.h"
#include "support/NginxServer.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/Repetitions.h"
#include "support/SpedUpTime.h"
#include "support/StandInService.h"
#include "support/StatusNotifierHost.h"
#include "support/TestBuses.h"
#include "support/TestClip.h"
#include "support/TestImageryHost.h"
#include "support/Trend.h"
#include "support/VirtualDisplay.h"

#include <QDBusUnixFileDescriptor>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using test::Holdings;

struct Renderer
{
    const char *name;
    bool isGl;
};

// One round of the soak.
constexpr int kHandOvers = 100;
constexpr int kPasses = 10;
constexpr int kLayoutChanges = 2;

constexpr int kRoundsBetweenReports = 25;

constexpr int kSpeed = 60;
constexpr auto kBetweenPasses = 13h; // a pass looks for news after twelve
constexpr auto kLongestStill = 10s;  // of the test's time: ten minutes of the program's
constexpr int kLeastChanges = 5;     // of each wall's picture, in a round
constexpr int kDark = 60;            // no clip and no mixture of two is darker than 120
constexpr double kMostLog = 200;     // bytes for a hand-over, with what passes and layouts add

const QString kLog = u"log, bytes for a hand-over"_s;
const QString kWaits = u"waits for a hand-over"_s;

// How much of something may be more at the end, beyond chance.
struct MostRise
{
    double others;
    QMap<QString, double> of;
};
// Less than one for each round, even of a short soak. What an allocator takes while it settles is
// more than that.
const MostRise kMostRiseInDays{3,
                               {{u"memory, KiB"_s, 6000},
                                {u"X server's memory, KiB"_s, 1000},
                                {u"X pixmaps' memory, KiB"_s, 200},
                                {u"mappings"_s, 30},
                                {kLog, 50},
                                {kWaits, 100}}};
// Less than a byte, and than a hundredth of a percent of anything else, for each hand-over.
const MostRise kMostRiseInMonths{1,
                                 {{u"memory, KiB"_s, 64},
                                  {u"memory of what starts them, KiB"_s, 16},
                                  {u"X server's memory, KiB"_s, 64},
                                  {u"X pixmaps' memory, KiB"_s, 16},
                                  {u"mappings"_s, 8},
                                  {kLog, 5},
                                  {kWaits, 10}}};
constexpr int kRoundsOfMonths = 500;

const QList<QRect> kFrames{{0, 0, 160, 120}, {160, 0, 160, 120}};
const QStringList kMonitors{u"left"_s, u"right"_s};
const QStringList kProducts{u"171"_s, u"193"_s, u"304"_s};
const QStringList kTransitions{u"blink"_s, u"crossfade"_s, u"circle"_s, u"wipe"_s, u"black"_s};

// A clip whose every picture is of another grey.
QByteArray clipBytes()
{
    const QTemporaryDir folder;
    test::TestClip clip;
    clip.width = clip.height = 64;
    clip.frames = 8;
    clip.marked = false;
    clip.colour = [](int i) {
        return QColor::fromRgb(qRgb(160 + 5 * i, 160 + 5 * i, 160 + 5 * i));
    };
    clip.write(folder.filePath(u"clip.mp4"_s));
    QFile file(folder.filePath(u"clip.mp4"_s));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

class Soak : public testing::TestWithParam<Renderer>
{
protected:
    Soak()
    {
        EXPECT_TRUE(m_nothing.open(QIODevice::ReadOnly));
        for (int i = 0; i < kFrames.size(); ++i)
            m_display.plugIn(kMonitors[i], kFrames[i]);
        m_display.startWindowManager();
        m_program.showOn(m_display);
        m_program.setSessionBus(m_bus);
        m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, m_systemBus.address());
        m_saver.setAnswer(u"Inhibit"_s, QVariantList{42U});
        m_saver.setAnswer(u"UnInhibit"_s, QVariantList());
        m_logind.setAnswer(u"Inhibit"_s, [this](const QVariantList &) -> QVariantList {
            return {QVariant::fromValue(QDBusUnixFileDescriptor(m_nothing.handle()))};
        });
        m_program.configureWall();
        m_program.configure({{u"offline"_s, false},
                             {u"imageryHost"_s, m_server.host()},
                             {u"refreshMinutes"_s, 720},
                             {u"loops"_s, 2},
                             {u"products"_s, QJsonArray{kProducts.join(u',')}}});
        m_program.setVariable(u"SSL_CERT_FILE"_s, m_authority.certificate());
        m_host.setGenerated({});
        for (const QString &product : kProducts) {
            m_program.addFile(product, m_clip);
            offerNews(product);
        }
        if (GetParam().isGl)
            m_program.drawByOpenGl(m_machine);
        m_time.take(m_program);
    }

    // Reads on in the log, and looks at the walls.
    void watch()
    {
        const QByteArray log = m_program.process().errors();
        for (qsizetype end = log.indexOf('\n', m_logRead); end >= 0;
             end = log.indexOf('\n', m_logRead)) {
            const QByteArray line = log.mid(m_logRead, end - m_logRead);
            m_logRead = end + 1;
            m_handOvers += line.startsWith("corvella: playing ") ? 1 : 0;
            m_passes += line.startsWith("corvella: pass: checked, 1 clips moved") ? 1 : 0;
            m_layoutChanges += line.startsWith("corvella: display layout changed") ? 1 : 0;
            m_modeChanges +=
                line.startsWith("corvella: showing on 2 of 2 display(s), mode ") ? 1 : 0;
        }
        m_picture = m_display.client().picture();
    }

    // In the middle of the picture, above the texts.
    [[nodiscard]] int grey(qsizetype wall) const
    {
        return qGray(m_picture.pixel(kFrames[wall].center() - QPoint(0, 50)));
    }

    [[nodiscard]] bool areLit(qsizetype walls) const
    {
        for (qsizetype wall = 0; wall < walls; ++wall) {
            if (grey(wall) < kDark)
                return false;
        }
        return true;
    }

    // Waits for what the program shall do, while its walls play on.
    [[nodiscard]] bool playsUntil(const std::function<bool()> &condition)
    {
        const bool isBlackBetween = m_transition == u"black"_s || m_lastTransition == u"black"_s;
        std::array<test::Stopwatch, 2> sinceChange;
        bool isAlive = true;
        const bool holds = test::becomes(
            [&] {
                watch();
                for (size_t wall = 0; wall < sinceChange.size(); ++wall) {
                    const int seen = grey(static_cast<qsizetype>(wall));
                    if (seen < kDark && !isBlackBetween) {
                        ADD_FAILURE() << "black after hand-over " << m_handOvers;
                        isAlive = false;
                    }
                    if (seen != std::exchange(m_seen.at(wall), seen)) {
                        sinceChange.at(wall) = {};
                        ++m_changes.at(wall);
                    }
                    if (sinceChange.at(wall).elapsed() > kLongestStill) {
                        ADD_FAILURE() << "frozen after hand-over " << m_handOvers;
                        isAlive = false;
                    }
                }
                m_looksForBlack += isBlackBetween ? 0 : 1;
                return !isAlive || condition();
            },
            5min);
        return holds && isAlive && m_program.process().isRunning();
    }

    // Whether each wall has shown enough since this was last begun to be counted.
    [[nodiscard]] bool bothMove() const
    {
        return std::ranges::all_of(m_changes, [](int changes) { return changes >= kLeastChanges; });
    }

    // Waits for what takes the walls down and puts them up again, and for this many to be lit.
    [[nodiscard]] bool rebuilds(const int &counter, qsizetype walls,
                                const std::function<void()> &by)
    {
        const int before = counter;
        by();
        return test::becomes([&] {
            watch();
            return counter > before && m_display.client().windows().size() == walls
                && areLit(walls);
        });
    }

    [[nodiscard]] bool followsLayout()
    {
        return rebuilds(m_layoutChanges, 1, [this] { m_display.pullOut(kMonitors[1]); })
            && rebuilds(m_layoutChanges, 2, [this] { m_display.plugIn(kMonitors[1], kFrames[1]); });
    }

    [[nodiscard]] bool followsMode()
    {
        const auto changesTo = [this](const QString &mode) {
            return rebuilds(m_modeChanges, 2, [&] {
                m_program.changeSettings({u"write"_s, u"mode"_s, mode});
            });
        };
        return changesTo(u"kiosk"_s) && changesTo(u"wall"_s);
    }

    void offerNews(const QString &product)
    {
        const QString stamp = QDateTime(QDate(2026, 10, 1), QTime(0, 0), Qt::UTC)
                                  .addSecs(3600LL * m_offers++)
                                  .toString(u"yyyyMMdd'T'HHmmss"_s);
        m_host.offerClip(product, stamp, m_clip);
    }

    // Another clip is offered, and the half day goes by after which the program asks for it.
    [[nodiscard]] bool takesNews()
    {
        offerNews(kProducts[m_passes % kProducts.size()]);
        const int before = m_passes;
        m_time.skip(kBetweenPasses);
        return playsUntil([&] { return m_passes > before; });
    }

    // A pass is held up until the next one is due. The program has a thread for each then, and
    // keeps both: when that happens by chance in the midst of months, it looks like growth.
    [[nodiscard]] bool hasTwoPassesAtOnce()
    {
        m_server.hang();
        const bool haveMet = test::becomes([this] {
            m_time.skip(kBetweenPasses);
            return m_program.process().errors().contains(
                "\ncorvella: a refresh is already running\n");
        });
        m_server.goOn();
        return haveMet;
    }

    void chooseTransition(int round)
    {
        m_lastTransition = std::exchange(m_transition, kTransitions[round % kTransitions.size()]);
        m_program.changeSettings({u"write"_s, u"transition"_s, m_transition});
    }

    void goRound(int round)
    {
        const int handOvers = m_handOvers + kHandOvers;
        chooseTransition(round);
        ASSERT_TRUE(followsMode()) << "mode " << m_modeChanges;
        for (int i = 0; i < kLayoutChanges; i += 2)
            ASSERT_TRUE(followsLayout()) << "layout " << m_layoutChanges;
        for (int i = 0; i < kPasses; ++i)
            ASSERT_TRUE(takesNews()) << "pass " << m_passes;
        m_changes = {};
        ASSERT_TRUE(playsUntil([&] { return m_handOvers >= handOvers && bothMove(); }));
        takeReading();
    }

    void takeReading()
    {
        Holdings holdings = test::holdingsOf(m_program.process().id(), m_display, m_bus);
        holdings[u"D-Bus matches"_s] += m_systemBus.matchRules();
        holdings.insert(kLog, perHandOver(m_logBefore, m_logRead));
        holdings.insert(kWaits, perHandOver(m_waitsBefore, m_time.waits()));
        m_handOversBefore = m_handOvers;
        for (auto holding = holdings.cbegin(); holding != holdings.cend(); ++holding)
            m_readings[holding.key()].push_back({double(m_handOvers), holding.value()});
    }

    // What was added since the last reading, for each hand-over.
    double perHandOver(qint64 &before, qint64 now)
    {
        const qint64 added = now - std::exchange(before, now);
        return double(added) / (m_handOvers - m_handOversBefore);
    }

    // What is left of the readings once the program has settled: all but the first tenth.
    [[nodiscard]] static std::vector<test::Point> settled(const std::vector<test::Point> &readings)
    {
        return {readings.begin() + static_cast<std::ptrdiff_t>(readings.size() / 10),
                readings.end()};
    }

    void report() const
    {
        std::printf("%s: %d hand-overs, %d passes, %d layout changes, %d mode changes; %d looks "
                    "for black\n"
                    "%-28s %12s %12s %16s %12s\n",
                    GetParam().name, m_handOvers, m_passes, m_layoutChanges, m_modeChanges,
                    m_looksForBlack, "held", "mean", "last", "per hand-over", "+-");
        for (auto reading = m_readings.cbegin(); reading != m_readings.cend(); ++reading) {
            const test::Trend trend =
                test::trendOf(settled(reading.value()), test::resolutionOf(reading.key()));
            std::printf("%-28s %12.1f %12.1f %16.3g %12.2g%s\n", qPrintable(reading.key()),
                        trend.level, reading.value().back().y, trend.slope, trend.slopeError,
                        trend.isFlat() ? "" : "  not flat");
        }
        std::fflush(stdout);
    }

    void expectNoGrowth(const MostRise &most) const
    {
        for (auto reading = m_readings.cbegin(); reading != m_readings.cend(); ++reading) {
            const std::vector<test::Point> points = settled(reading.value());
            const test::Trend trend = test::trendOf(points);
            const double span = points.back().x - points.front().x;
            EXPECT_LE(trend.leastSlope() * span, most.of.value(reading.key(), most.others))
                << reading.key().toStdString();
        }
        EXPECT_LE(test::trendOf(m_readings[kLog]).level, kMostLog);
    }

    const QByteArray m_clip = clipBytes();
    test::TestImageryHost m_host{kProducts};
    test::TestAuthority m_authority;
    test::NginxServer m_server{m_authority.issue({u"localhost"_s}), m_host.folder()};
    test::PrivateBus m_bus;
    test::PrivateBus m_systemBus;
    QFile m_nothing{u"/dev/null"_s};
    test::StandInService m_saver{m_bus, u"org.freedesktop.ScreenSaver"_s};
    test::StandInService m_logind{m_systemBus, test::kLogind};
    test::StatusNotifierHost m_panel{m_bus.address()};
    test::VirtualDisplay m_display{QSize(320, 120)};
    test::AlteredMachine m_machine;
    test::SpedUpTime m_time{kSpeed};
    test::ProgramUnderTest m_program;

    QString m_transition = u"blink"_s;
    QString m_lastTransition = u"blink"_s;
    QImage m_picture;
    qsizetype m_logRead = 0;
    int m_handOvers = 0;
    int m_passes = 0;
    int m_offers = 0;
    int m_layoutChanges = 0;
    int m_modeChanges = 0;
    int m_looksForBlack = 0;
    std::array<int, 2> m_seen{};
    std::array<int, 2> m_changes{};

    QMap<QString, std::vector<test::Point>> m_readings;
    int m_handOversBefore = 0;
    qint64 m_logBefore = 0;
    qint64 m_waitsBefore = 0;
};

TEST_P(Soak, HoldsNoMoreAfterMonthsThanAfterDays)
{
    m_program.start();
    ASSERT_TRUE(test::becomes([this] {
        watch();
        return areLit(2);
    }));
    ASSERT_TRUE(m_panel.hasItem());
    ASSERT_TRUE(hasTwoPassesAtOnce());
    const int rounds = test::repetitions("CORVELLA_SOAK_ROUNDS", 5);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        goRound(round);
        if (round % kRoundsBetweenReports == kRoundsBetweenReports - 1)
            report();
    }
    if (HasFailure())
        return;
    report();
    expectNoGrowth(rounds < kRoundsOfMonths ? kMostRiseInDays : kMostRiseInMonths);
    // Each wall keeps the displays awake, and each kiosk holds the machine's keys besides.
    EXPECT_GE(m_logind.calls(u"Inhibit"_s).size(), 3 * rounds);
    EXPECT_GE(m_saver.calls(u"Inhibit"_s).size(), 2 * rounds);
}

TEST(Trend, OfPointsOnALineIsThatLine)
{
    const test::Trend trend = test::trendOf({{0, 1}, {1, 3}, {2, 5}});
    EXPECT_DOUBLE_EQ(trend.level, 3);
    EXPECT_DOUBLE_EQ(trend.slope, 2);
    EXPECT_DOUBLE_EQ(trend.slopeError, 0);
    EXPECT_DOUBLE_EQ(trend.leastSlope(), 2);
    EXPECT_FALSE(trend.isFlat());
}

TEST(Trend, OfPointsThatGoUpAndDownIsFlat)
{
    const test::Trend trend = test::trendOf({{0, 0}, {1, 1}, {2, 0}, {3, 1}});
    EXPECT_DOUBLE_EQ(trend.slope, 0.2);
    EXPECT_DOUBLE_EQ(trend.slopeError, std::sqrt(0.08)); // residues of 0.2 and 0.6, twice each
    EXPECT_TRUE(trend.isFlat());
}

TEST(Trend, OfOneStepOfTheLeastThatCanBeReadIsFlat)
{
    const std::vector<test::Point> points{{0, 0}, {1, 0}, {2, 0}, {3, 4}, {4, 4}, {5, 4}};
    EXPECT_FALSE(test::trendOf(points).isFlat());
    EXPECT_TRUE(test::trendOf(points, 4).isFlat());
    const std::vector<test::Point> rising{{0, 0}, {1, 4}, {2, 8}, {3, 12}, {4, 16}, {5, 20}};
    EXPECT_FALSE(test::trendOf(rising, 4).isFlat());
}

INSTANTIATE_TEST_SUITE_P(Renderers, Soak,
                         testing::Values(Renderer{"Raster", false}, Renderer{"Gl", true}),
                         [](const auto &test) { return test.param.name; });

} // namespace
} // namespace corvella
