// A kiosk's month in a museum, in minutes: the real program, installed from a bundle, with its
// clocks sped up. Its hosts fail, its network dies, its clock is set, its disk fills up, it is
// updated again and again, and again and again its power is cut. Each morning the Sun is on the
// wall, locked, without a hand, by the newest build that it could have. CORVELLA_MUSEUM_DAYS sets
// how long that goes on; tests/museum runs the month.
#include "end-to-end/BuiltUpdates.h"
#include "settings/Hosts.h"
#include "support/DiskFaultsPower.h"
#include "support/NginxServer.h"
#include "support/Repetitions.h"
#include "support/SpedUpTime.h"
#include "support/TestClip.h"
#include "support/TestImageryHost.h"
#include "support/VirtualDisplay.h"

#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <numeric>
#include <random>
#include <set>
#include <sys/stat.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using std::chrono::milliseconds;
using test::becomes;

constexpr QRect kScreen(0, 0, 320, 240);
constexpr int kSpeed = 60;
constexpr auto kDay = 24h;
constexpr auto kYear = 365 * kDay;
constexpr int kDays = 31;
constexpr int kCuts = 100; // of the power, in so many days
constexpr int kSeed = 20111005;
constexpr unsigned kDoublings = 11; // the power fails 1 to 1024 calls later, sooner than later
constexpr qint64 kWaits = 40;       // by which the program has taken part in an hour
constexpr int kHuesApart = 11;      // of one day's clip and the next one's
constexpr auto kFirstLook = 15s;    // after its start, by which the program looks for a build

// When something is done, in hours after nine o'clock in the morning.
constexpr double kTroubleComesAndGoes = 3;
constexpr double kNews = 6;
constexpr std::array kSteps{
    kTroubleComesAndGoes, kNews, 9.0, 12.0, 15.0, 17.0, 17.5, 18.0, 18.5, 19.0, 19.5, 21.0, 24.0};
constexpr int kBeforeNight = 4; // which of them

// The days at whose noon a new build is offered. For the first night there is one from the start.
constexpr std::array kOffers{3, 7, 13, 20, 25};

// What goes wrong from one noon to the next.
enum class Trouble {
    none,
    frontIsDown,
    allHostsAreDown,
    networkIsDead, // it takes what is sent, and nothing comes back
    diskIsFull,
    clockIsAYearAhead,
    clockIsAYearBehind,
    clockIsUnset, // it shows 1970 when the machine starts
};
// One day after the other, and then again.
constexpr std::array kTroubles{Trouble::none,
                               Trouble::frontIsDown,
                               Trouble::clockIsAYearAhead,
                               Trouble::allHostsAreDown,
                               Trouble::none,
                               Trouble::networkIsDead,
                               Trouble::clockIsAYearBehind,
                               Trouble::diskIsFull,
                               Trouble::clockIsUnset};

Trouble troubleOf(int day)
{
    return kTroubles.at(static_cast<size_t>(day) % kTroubles.size());
}

// Whether last night's clip cannot be had.
bool keepsNewsAway(Trouble trouble)
{
    return trouble == Trouble::allHostsAreDown || trouble == Trouble::networkIsDead
        || trouble == Trouble::diskIsFull;
}

// Whether a new build cannot be had: its feed is not there, or too old or too new by the clock, or
// there is no room for it.
bool keepsUpdatesAway(Trouble trouble)
{
    return trouble != Trouble::none;
}

// A day's clip: all of one hue, and each picture of another brightness.
QByteArray clipOf(int day)
{
    const QTemporaryDir folder;
    test::TestClip clip;
    clip.width = clip.height = 64;
    clip.frames = 12;
    clip.framesPerSecond = 1;
    clip.marked = false;
    clip.colour = [day](int i) {
        return QColor::fromHsv(day * kHuesApart % 341, 255, 255 - 10 * i);
    };
    clip.write(folder.filePath(u"clip.mp4"_s));
    QFile file(folder.filePath(u"clip.mp4"_s));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

// One whose summer begins in the first night of all and ends in the fourteenth, and in which it is
// nine o'clock in the morning at `morning`.
QString zoneFor(const QDateTime &morning)
{
    const auto hours = [](int behind) -> QString {
        return (behind < 0 ? u"-"_s : u"+"_s) + QString::number(std::abs(behind));
    };
    // The days of a year without a leap day.
    const auto dayOfYear = [](const QDate &date) {
        return QDate(2027, date.month(),
                     std::min(date.day(), QDate(2027, date.month(), 1).daysInMonth()))
            .dayOfYear();
    };
    const int behind = morning.time().hour() - 9;
    return u"MUS%1SUM%2,J%3,J%4"_s.arg(hours(behind), hours(behind - 1))
        .arg(dayOfYear(morning.date().addDays(1)))
        .arg(dayOfYear(morning.date().addDays(14)));
}

// The power of the machine. It can fail at a call that changes the disk, by whichever process.
class Power
{
public:
    Power()
    {
        EXPECT_TRUE(m_file.open() && m_file.resize(sizeof(test::DiskFaultsPower)));
        m_shared = new (m_file.map(0, sizeof(test::DiskFaultsPower))) test::DiskFaultsPower;
        stay();
    }
    [[nodiscard]] QString file() const { return m_file.fileName(); }
    void failAfter(int calls) { m_shared->callsLeft = calls; }
    void stay() { m_shared->callsLeft = -1; }
    // Or has failed, and nobody has noticed yet.
    [[nodiscard]] bool isToFail() const { return m_shared->callsLeft >= 0; }
    [[nodiscard]] bool hasFailed() const { return m_shared->callsLeft == 0; }

private:
    QTemporaryFile m_file;
    test::DiskFaultsPower *m_shared = nullptr; // mapped as long as the file is open
};

class Museum : public testing::Test
{
protected:
    Museum()
    {
        m_time.skip(3600s - (m_time.now().time().msecsSinceStartOfDay() % 3'600'000) * 1ms);
        m_morning = m_time.now();
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.configure(
            {{u"mode"_s, u"kiosk"_s},
             {u"offline"_s, false},
             {u"products"_s, QJsonArray{u"171"_s}},
             {u"refreshMinutes"_s, 720},
             {u"imageryHost"_s, m_front.host()},
             {u"updateFeed"_s, u"https://%1/updates/appcast.xml"_s.arg(m_front.host())}});
        m_program.setVariable(u"SSL_CERT_FILE"_s, m_authority.certificate());
        m_program.setVariable(u"TZ"_s, zoneFor(m_morning));
        m_program.setVariable(u"CORVELLA_TEST_HOSTS"_s,
                              u"%1=%2"_s.arg(Hosts::origin()).arg(m_origin.port()));
        m_program.addFile(u"171"_s, clipOf(0));
        offerNews();
        installFirstBuild(m_program, m_prefix);
        m_time.take(m_program);
        m_program.setVariable(u"LD_PRELOAD"_s,
                              QStringLiteral(CORVELLA_SPED_UP_CLOCK ":" CORVELLA_REDIRECTED_NAMES
                                                                    ":" CORVELLA_DISK_FAULTS));
        m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, m_program.home());
        m_program.setVariable(u"DISK_FAULTS_POWER"_s, m_power.file());
    }
    ~Museum() override
    {
        if (m_process)
            endAll();
        if (HasFailure())
            std::fprintf(stderr, "The program wrote:\n%s\n", m_log.constData());
    }

    // As the unit and a cut of the power do it: with all that it started.
    void endAll()
    {
        const bool isCut = m_power.isToFail();
        ::kill(-m_group, SIGKILL);
        (void)m_process->exitStatus();
        m_log += "after " + QByteArray::number(hours()) + " hours:\n" + m_process->errors();
        m_cuts += isCut;
        m_cutsInAWrite += m_power.hasFailed();
        m_cutsInAnUpdate += isCut && isUpdateHalfDone();
        m_power.stay();
    }
    void start()
    {
        QProcessEnvironment environment = m_program.environment();
        if (m_trouble == Trouble::diskIsFull)
            environment.insert(u"DISK_FAULTS_ROOM"_s, QString::number(m_random() % 20'000));
        m_process = std::make_unique<test::ChildProcess>(
            test::Command{u"setsid"_s,
                          {m_prefix + u"/bin/corvella"_s, u"--start"_s},
                          environment,
                          m_program.home()});
        m_group = static_cast<pid_t>(m_process->id());
        m_started = m_time.now();
    }
    // Starts it where the power is back.
    void comeBack()
    {
        const int cuts = m_cuts;
        start();
        const test::Stopwatch sinceStart;
        EXPECT_TRUE(isUp()) << "after the power was cut on day " << m_day;
        if (m_cuts == cuts) // it did not fail once more
            m_recoveries.push_back(std::chrono::duration_cast<milliseconds>(sinceStart.elapsed()));
    }
    void restart()
    {
        endAll();
        comeBack();
    }
    // Looks after it as the unit does.
    void look()
    {
        if (m_process->isRunning())
            return;
        if (!m_power.hasFailed())
            ADD_FAILURE() << "it ended by itself in the night after day " << m_day;
        restart();
    }
    // Waits until something holds, while the unit looks after the program.
    [[nodiscard]] bool awaits(const std::function<bool()> &condition)
    {
        return becomes([&] {
            look();
            return condition();
        });
    }

    // The day whose clip is on the wall, where there is one and nothing else.
    [[nodiscard]] std::optional<int> seenDay()
    {
        const QList<test::XWindow> windows = m_display.client().windows();
        if (windows.size() != 1 || windows.first().frame != kScreen)
            return std::nullopt;
        const QColor seen =
            m_display.client().picture().pixelColor(kScreen.center() - QPoint(0, 50));
        if (seen.value() < 100 || seen.hsvSaturation() < 150)
            return std::nullopt;
        m_brightness.insert(seen.value());
        return (seen.hsvHue() + kHuesApart / 2) % 360 / kHuesApart;
    }
    [[nodiscard]] bool isLocked()
    {
        const bool isOpen = m_display.client().grabKeyboard() || m_display.client().grabPointer();
        if (isOpen)
            m_display.client().releaseGrabs();
        return !isOpen;
    }
    // The Sun is on the wall, it moves, and nobody gets past it.
    [[nodiscard]] bool isUp()
    {
        m_brightness.clear();
        return awaits([this] { return seenDay() && m_brightness.size() > 1; })
            && awaits([this] { return isLocked(); });
    }

    // The power is to fail some calls from now on. Where the program has not got that far since the
    // last time, it fails now, too.
    void cutPower()
    {
        const unsigned most = 1U << (m_random() % kDoublings);
        const int calls = 1 + int(m_random() % most);
        const bool isItsTurn = m_power.isToFail();
        if (isItsTurn)
            endAll();
        // A new build that fails twice in its first seconds is put back.
        const bool isSpared = isItsTurn && isOnTrial();
        if (isSpared) {
            comeBack();
            EXPECT_TRUE(awaits([this] { return !isOnTrial(); }));
        }
        m_power.failAfter(calls);
        if (isItsTurn && !isSpared)
            comeBack();
    }

    void begin(Trouble trouble)
    {
        m_trouble = trouble;
        switch (trouble) {
        case Trouble::none:
            return;
        case Trouble::frontIsDown:
            return m_front.stop();
        case Trouble::allHostsAreDown:
            m_front.stop();
            return m_origin.stop();
        case Trouble::networkIsDead:
            m_front.hang();
            return m_origin.hang();
        case Trouble::diskIsFull:
            return restart();
        case Trouble::clockIsAYearAhead:
            return m_time.setClockOff(kYear);
        case Trouble::clockIsAYearBehind:
            return m_time.setClockOff(-kYear);
        case Trouble::clockIsUnset:
            endAll();
            m_time.setClockOff(-m_time.now().toMSecsSinceEpoch() * 1ms);
            return comeBack();
        }
    }
    void end()
    {
        switch (std::exchange(m_trouble, Trouble::none)) {
        case Trouble::none:
            return;
        case Trouble::frontIsDown:
            return m_front.startAgain();
        case Trouble::allHostsAreDown:
            m_front.startAgain();
            return m_origin.startAgain();
        case Trouble::networkIsDead:
            m_front.goOn();
            return m_origin.goOn();
        case Trouble::diskIsFull:
            return restart();
        case Trouble::clockIsAYearAhead:
        case Trouble::clockIsAYearBehind:
        case Trouble::clockIsUnset:
            return m_time.setClockOff(0s); // as the network sets it
        }
    }

    // What the museum's own clock shows: hours since the first morning.
    [[nodiscard]] double hours() const
    {
        return double(m_morning.msecsTo(m_time.now())) / 3'600'000;
    }
    [[nodiscard]] static bool isHeld(const QString &lock)
    {
        struct stat file = {};
        if (::stat(QFile::encodeName(lock).constData(), &file) != 0)
            return false;
        QFile locks(u"/proc/locks"_s);
        EXPECT_TRUE(locks.open(QIODevice::ReadOnly));
        const QByteArray number = ':' + QByteArray::number(qint64(file.st_ino)) + ' ';
        return locks.readAll().contains(number);
    }
    // Whether a new build has not run for long enough yet.
    [[nodiscard]] bool isOnTrial() const
    {
        return QFile::exists(m_prefix + u"/.update/trial-%1"_s.arg(currentBuild(m_prefix)));
    }
    [[nodiscard]] bool isUpdateHalfDone() const
    {
        return isOnTrial()
            || !QDir(m_prefix + u"/.update"_s).entryList({u"*.part"_s}, QDir::Files).isEmpty();
    }
    // Whether the program is at its hosts, has a new build to try, or has not begun to look for one
    // since its start. It is left the time for that: a transfer with hours in its midst would be
    // out of time. In a dead network it is anyway.
    [[nodiscard]] bool isBusy() const
    {
        return m_started.msecsTo(m_time.now()) < milliseconds(kFirstLook).count()
            || isHeld(m_program.cacheFolder() + u"/refresh.lock"_s) || isOnTrial()
            || (m_trouble != Trouble::networkIsDead && isHeld(m_prefix + u"/.update/lock"_s));
    }
    // And lets it take that much of a part in it.
    void goOnTo(double hour, qint64 waits)
    {
        EXPECT_TRUE(awaits([this] { return !isBusy(); }));
        const double left = 24.0 * m_day + hour - hours();
        if (left > 0)
            m_time.skip(std::chrono::duration_cast<milliseconds>(
                std::chrono::duration<double, std::ratio<3600>>(left)));
        const qint64 before = m_time.waits();
        EXPECT_TRUE(awaits([&] { return m_time.waits() > before + waits; }));
    }

    // What the maker of a build has of it.
    [[nodiscard]] QString madeIn(int build) const { return build <= 2 ? kUpdates : m_maker.path(); }
    // Makes and signs one more build, while the maker's clock is right.
    void makeUpdate()
    {
        if (++m_offered > 2)
            makeBuild(m_program, m_maker.path(), m_offered);
        announceBuild(m_program, QDir(madeIn(m_offered) + u"/served-%1"_s.arg(m_offered)),
                      m_maker.filePath(u"site"_s), u"https://%1/updates"_s.arg(m_front.host()));
    }
    void offerUpdate()
    {
        shell(m_program,
              {u"cp"_s, u"-RT"_s, m_maker.filePath(u"site"_s), m_host.folder() + u"/updates"_s});
    }
    void offerNews()
    {
        const QString stamp = m_time.now().toString(u"yyyyMMdd'T'HHmmss"_s);
        m_host.offerClip(u"171"_s, stamp, clipOf(m_day + 1));
        m_host.setGenerated(m_time.now());
    }
    void goThroughDay(Trouble trouble)
    {
        const bool isOffered = std::find(kOffers.begin(), kOffers.end(), m_day) != kOffers.end();
        for (const double hour : kSteps) {
            const bool isCut = m_cutSteps.contains(m_step++);
            goOnTo(hour, isCut ? qint64(m_random() % (2 * kWaits)) : kWaits);
            if (hour == kTroubleComesAndGoes) {
                end();
                if (isOffered)
                    makeUpdate();
                begin(trouble);
                if (isOffered)
                    offerUpdate();
            }
            if (hour == kNews)
                offerNews();
            if (isCut)
                cutPower();
        }
    }

    // At which steps of all days there is a cut: where updates come and before they are installed,
    // and wherever else.
    void chooseCuts(int days)
    {
        constexpr int kStepsADay = int(kSteps.size());
        for (int day = 0; day < days; ++day) {
            if (!keepsUpdatesAway(troubleOf(day)))
                m_cutSteps.insert({day * kStepsADay, day * kStepsADay + kBeforeNight});
        }
        std::vector<int> steps(static_cast<size_t>(kStepsADay * days));
        std::iota(steps.begin(), steps.end(), 0);
        // The library's own shuffle would differ from machine to machine.
        for (size_t i = steps.size() - 1; i > 0; --i)
            std::swap(steps[i], steps[m_random() % (i + 1)]);
        for (auto step = steps.begin(); int(m_cutSteps.size()) < kCuts * days / kDays; ++step)
            m_cutSteps.insert(*step);
    }

    // A new version waits for the hour at which nobody is there: three o'clock, which comes after
    // 17 hours in the night in which summer begins.
    void expectUpdateTonight()
    {
        const QString ready = u"corvella: update: 1.2.0 downloaded; this kiosk installs it at "_s
            + m_morning.addDuration(17h).toString(u"yyyy-MM-dd HH:mm:ss"_s) + u" +0000"_s;
        EXPECT_TRUE(awaits([&] { return m_process->errorLines().contains(ready); }));
    }

    void expectMorning()
    {
        ASSERT_TRUE(isUp()) << "in the morning after day " << m_day;
        ++m_mornings;
        if (keepsNewsAway(m_trouble)) {
            EXPECT_GE(seenDay().value_or(-1), m_oldest) << "it went back";
            return;
        }
        EXPECT_TRUE(awaits([this] { return seenDay() == m_day + 1; }))
            << "day " << seenDay().value_or(-1) << "'s clip in the morning after day " << m_day;
        m_oldest = m_day + 1;
        ++m_freshMornings;
    }

    // The newest build runs, or the one before where the night could not have it; and it is whole.
    void expectBuild()
    {
        if (!keepsUpdatesAway(m_trouble))
            m_due = m_offered;
        EXPECT_TRUE(awaits([this] { return running(m_prefix, m_due).has_value(); }))
            << "not build " << m_due << " in the morning after day " << m_day;
        EXPECT_EQ(currentBuild(m_prefix), m_due);
        for (const int build : {m_due, m_due - 1}) { // and the one to go back to
            const QString name = QString::number(build);
            expectWhole(m_prefix + u'/' + name, madeIn(build) + u'/' + name);
        }
    }

    void report()
    {
        if (m_recoveries.empty())
            return;
        std::sort(m_recoveries.begin(), m_recoveries.end());
        std::printf("%d mornings, %d with the clip of the night; %d updates; power cut %d times, "
                    "%d of them in a write, %d in an update; the Sun was up again after %lld ms, "
                    "%lld ms at most\n",
                    m_mornings, m_freshMornings, m_due - 1, m_cuts, m_cutsInAWrite,
                    m_cutsInAnUpdate,
                    static_cast<long long>(m_recoveries[m_recoveries.size() / 2].count()),
                    static_cast<long long>(m_recoveries.back().count()));
        std::fflush(stdout);
    }

    std::mt19937 m_random{static_cast<unsigned>(test::repetitions("CORVELLA_MUSEUM_SEED", kSeed))};
    test::TestImageryHost m_host{{u"171"_s}};
    test::TestAuthority m_authority;
    test::NginxServer m_front{m_authority.issue({u"localhost"_s}), m_host.folder()};
    test::NginxServer m_origin{m_authority.issue({Hosts::origin()}), m_host.folder()};
    test::VirtualDisplay m_display{kScreen.size()};
    test::SpedUpTime m_time{kSpeed};
    Power m_power;
    const QTemporaryDir m_maker;
    test::ProgramUnderTest m_program;
    const QString m_prefix = m_program.home() + u"/opt/corvella"_s;
    std::unique_ptr<test::ChildProcess> m_process;
    pid_t m_group = 0; // of it and of all that it starts
    QDateTime m_started;

    QDateTime m_morning; // the first

    int m_day = -1; // the first one is 0
    int m_step = 0; // of all days
    std::set<int> m_cutSteps;
    Trouble m_trouble = Trouble::none;
    QByteArray m_log; // of all that have ended
    std::set<int> m_brightness;
    int m_oldest = 0;  // the day whose clip was on the wall when news came last
    int m_offered = 1; // the newest build that is there
    int m_due = 1;     // the newest that a night could have

    int m_cuts = 0;
    int m_cutsInAWrite = 0;
    int m_cutsInAnUpdate = 0;
    int m_mornings = 0;
    int m_freshMornings = 0;
    std::vector<milliseconds> m_recoveries;
};

TEST_F(Museum, HasTheSunOnItsWallEachMorning)
{
    const int days = std::max(2, test::repetitions("CORVELLA_MUSEUM_DAYS", 2));
    chooseCuts(days);
    makeUpdate();
    offerUpdate();
    start();
    ASSERT_TRUE(isUp());
    expectUpdateTonight();
    for (m_day = 0; m_day < days && !HasFailure(); ++m_day) {
        goThroughDay(troubleOf(m_day));
        expectMorning();
        expectBuild();
    }
    if (m_power.isToFail())
        restart();
    report();
}

} // namespace
} // namespace corvella
