// The real program, installed from a bundle, updates itself to another real build from a real web
// server; and what is left of it when that is interrupted.
#include "end-to-end/BuiltUpdates.h"
#include "support/AlteredMachine.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/QtPrinting.h"
#include "support/Repetitions.h"
#include "support/SystemCallFaults.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <random>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

const QString kInstalling = u"update: installing 1.2.0 now and relaunching"_s;

// A zone in which it is this hour now.
QString zoneWhereItIs(int hour)
{
    const int behind = QDateTime::currentDateTimeUtc().time().hour() - hour;
    return u"TEST%1%2"_s.arg(behind < 0 ? u"-"_s : u"+"_s).arg(std::abs(behind));
}

class Updates : public InstalledCopy
{
protected:
    Updates()
    {
        m_program.addClip(u"171"_s, 1, 1);
        m_program.configure(
            {{u"mode"_s, u"desktop"_s}, {u"configured"_s, true}, {u"checkUpdatesNow"_s, true}});
    }

    void shell(const QStringList &words) const { corvella::shell(m_program, words); }
    [[nodiscard]] QString path(const QString &name) const { return prefix() + u'/' + name; }

    [[nodiscard]] std::optional<QStringList> running(int build) const
    {
        return corvella::running(prefix(), build);
    }
    // What anybody but its owner could exchange in the copy.
    [[nodiscard]] QStringList exposed() const
    {
        constexpr auto kOthers = QFile::WriteGroup | QFile::WriteOther;
        QStringList paths;
        QDirIterator entries(prefix(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QFileInfo entry(entries.next());
            if (!entry.isSymLink() && (entry.permissions() & kOthers))
                paths << entry.filePath();
        }
        return paths;
    }
    bool starts(int build)
    {
        return becomes([&] { return running(build).has_value(); });
    }
    void end()
    {
        m_program.process().signal(SIGTERM);
        EXPECT_TRUE(becomes([this] { return !m_program.process().isRunning(); }));
        EXPECT_FALSE(running(1));
        EXPECT_FALSE(running(2));
    }
    // From now on the power goes as soon as a process of the program has ended.
    void losePowerAtTheEnd()
    {
        m_program.setVariable(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
        m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, prefix());
        m_program.setVariable(u"DISK_FAULTS_AT_END"_s, u"1"_s);
        m_program.setVariable(u"DISK_FAULTS_NO_NAMES"_s, u"1"_s);
    }
    // What must hold whatever happened: the copy is one whole build, and it starts.
    void expectOneWholeBuild(const std::string &when)
    {
        const testing::ScopedTrace trace(__FILE__, __LINE__, when);
        const QString build = QString::number(current());
        expectWhole(path(build), kUpdates + u'/' + build);
        test::run({path(u"bin/corvella"_s), {u"--selftest"_s}, m_program.environment(), {}});
    }
};

TEST_F(Updates, AreInstalledAtOnceAndTheProgramComesBackWithItsArguments)
{
    announce();
    losePowerAtTheEnd();
    m_program.configure({{u"installUpdatesNow"_s, true}});
    const QStringList arguments{u"--seconds"_s, u"3600"_s, u"two words"_s};
    m_program.start(arguments);
    EXPECT_TRUE(m_program.logs(kInstalling));
    ASSERT_TRUE(starts(2));
    EXPECT_EQ(running(2), arguments);
    EXPECT_FALSE(running(1));
    EXPECT_EQ(current(), 2);
    expectOneWholeBuild("updated");
    EXPECT_EQ(exposed(), QStringList());
    for (const QString &program :
         {u"lib/corvella/corvella-gsettings"_s,
          u"share/corvella/PlugIns/Corvella.saver/Contents/bin/corvella-saver"_s})
        EXPECT_TRUE(QFileInfo(path(u"2/"_s + program)).isExecutable()) << qPrintable(program);
    // It is on trial until it has run for a while; then it is the one.
    EXPECT_TRUE(QFile::exists(path(u".update/trial-2"_s)));
    EXPECT_TRUE(becomes([this] { return !QFile::exists(path(u".update/trial-2"_s)); }));
    end();
    EXPECT_FALSE(QFile::exists(path(u".update/trial-2"_s))); // and the power went
    EXPECT_TRUE(QFile::exists(path(u"1/bin/corvella"_s)));   // kept
}

TEST_F(Updates, DoNotBringAProgramBackIntoASessionThatEnds)
{
    announce();
    m_program.configure({{u"installUpdatesNow"_s, true}});
    m_program.start();
    EXPECT_TRUE(m_program.logs(kInstalling));
    end();
    EXPECT_EQ(current(), 2);
}

TEST_F(Updates, AreInstalledByADesktopThatShowsNothing)
{
    announce();
    m_program.start();
    EXPECT_TRUE(m_program.logs(kInstalling));
    EXPECT_TRUE(starts(2));
    end();
}

TEST_F(Updates, WaitForTheEndOfAWall)
{
    announce();
    m_program.configure({{u"mode"_s, u"wall"_s}});
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"update: 1.2.0 downloaded; installs on quit"_s));
    EXPECT_EQ(current(), 1);
    EXPECT_TRUE(running(1));
    end();
    EXPECT_EQ(m_program.messages().last(), u"update: 1.2.0 installed; it starts next time"_s);
    EXPECT_EQ(current(), 2);
    EXPECT_FALSE(running(2)); // quit is quit
    expectOneWholeBuild("updated");
    m_program.start();
    EXPECT_TRUE(starts(2));
    end();
}

TEST_F(Updates, InterruptAKioskOnlyAtNight)
{
    announce();
    m_program.configure({{u"mode"_s, u"kiosk"_s}});
    m_program.setVariable(u"TZ"_s, zoneWhereItIs(12));
    m_program.start();
    ASSERT_TRUE(becomes([this] {
        return !m_program.messages()
                    .filter(u"update: 1.2.0 downloaded; this kiosk installs it at "_s)
                    .isEmpty();
    }));
    EXPECT_FALSE(m_program.messages().contains(kInstalling));
    EXPECT_EQ(current(), 1);
    m_program.process().signal(SIGKILL); // so that it is not installed at the end
    EXPECT_EQ(m_program.process().exitStatus(), std::nullopt);
    EXPECT_EQ(current(), 1);

    m_program.setVariable(u"TZ"_s, zoneWhereItIs(3));
    m_program.start();
    EXPECT_TRUE(m_program.logs(kInstalling));
    ASSERT_TRUE(starts(2));
    EXPECT_EQ(m_server->takeRequests().filter(u"tar.gz"_s).size(), 1); // it lay ready
    end();
}

TEST_F(Updates, BringAKioskBackThatWasStartedInSilence)
{
    announce();
    m_program.configure({{u"mode"_s, u"kiosk"_s}});
    m_program.setVariable(u"TZ"_s, zoneWhereItIs(3));
    m_program.start({u"--quiet"_s, u"--seconds"_s, u"3600"_s});
    EXPECT_TRUE(m_program.logs(kInstalling));
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode kiosk"_s));
    EXPECT_EQ(running(2), (QStringList{u"--seconds"_s, u"3600"_s}));
    end();
}

TEST_F(Updates, WaitForTheNightOfAKioskWhoseBusIsRestarted)
{
    announce();
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    m_program.configure({{u"mode"_s, u"kiosk"_s}});
    m_program.setVariable(u"TZ"_s, zoneWhereItIs(12));
    m_program.start();
    const auto waits = [this](int times) {
        return becomes([&] {
            return m_program.messages()
                       .filter(u"update: 1.2.0 downloaded; this kiosk installs it at "_s)
                       .size()
                == times;
        });
    };
    ASSERT_TRUE(waits(1));
    bus.crash();
    ASSERT_TRUE(m_program.logs(u"session bus: gone; waiting for it to come back"_s));
    bus.startAgain();
    EXPECT_TRUE(waits(2)) << "the program that has come back takes no updates";
    EXPECT_TRUE(running(1));
    EXPECT_EQ(current(), 1);
    end();
    EXPECT_EQ(current(), 2);
}

TEST_F(Updates, AreLeftAloneOffline)
{
    announce();
    m_program.configure({{u"offline"_s, true}, {u"installUpdatesNow"_s, true}});
    m_program.start({u"--seconds"_s, u"2"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_server->connections(), 0);
    EXPECT_EQ(current(), 1);
}

TEST_F(Updates, AreUndoneWhereTheNewBuildDoesNotStart)
{
    const QString broken = m_program.home() + u"/broken"_s;
    shell({u"cp"_s, u"-R"_s, kUpdates + u"/2"_s, broken});
    QFile program(broken + u"/bin/corvella"_s);
    ASSERT_TRUE(program.open(QIODevice::WriteOnly | QIODevice::Truncate));
    program.write("#!/bin/sh\n[ \"$1\" = --selftest ] && exec echo ok\nexit 1\n");
    program.close();
    shell({kPackaging + u"/make-update"_s, u"--tree"_s, broken, u"--key"_s, kKey, u"--url"_s,
           address(), u"--out"_s, m_www});
    m_program.configure({{u"installUpdatesNow"_s, true}});
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"update: build 2 failed to start twice; putting back 1"_s));
    EXPECT_TRUE(m_program.logs(u"update: build 2 did not start; 1.1.0 was put back"_s));
    EXPECT_TRUE(starts(1));
    EXPECT_EQ(current(), 1);
    // It checks again, and leaves that one alone.
    qsizetype checks = 0;
    EXPECT_TRUE(becomes([&] {
        checks += m_server->takeRequests().count(u"GET /appcast.xml 200"_s);
        return checks == 2;
    }));
    EXPECT_FALSE(becomes([this] { return m_program.messages().count(kInstalling) > 1; }, 1s));
    end();
    expectOneWholeBuild("put back");
}

TEST_F(Updates, LeaveAFolderAloneThatCannotBeWrittenTo)
{
    announce();
    test::AlteredMachine machine;
    machine.makeReadOnly(prefix());
    m_program.setMachine(machine);
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"update: Read-only file system"_s));
    end();
    EXPECT_EQ(m_program.messages().filter(u"update: "_s).size(), 1);
    expectOneWholeBuild("read-only");
}

TEST_F(Updates, LeaveAFolderAloneThatCannotBeLocked)
{
    announce();
    m_program.setVariable(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
    m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, prefix());
    m_program.setVariable(u"DISK_FAULTS_NO_LOCKS"_s, u"1"_s);
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"update: No locks available"_s));
    end();
    EXPECT_EQ(current(), 1);
}

TEST_F(Updates, LeaveTheOldBuildWhereTheDiskIsFull)
{
    announce();
    m_program.setVariable(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
    m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, prefix());
    // The bundle has over 6 MB, packed and unpacked.
    for (const int room : {0, 100, 3'000'000, 6'000'000, 8'000'000, 12'000'000}) {
        m_program.setVariable(u"DISK_FAULTS_ROOM"_s, QString::number(room));
        m_program.start();
        EXPECT_TRUE(m_program.logs(u"update: No space left on device"_s)) << room;
        end();
        EXPECT_EQ(current(), 1) << room;
        EXPECT_EQ(QDir(path(u".update"_s)).entryList({u"*.part"_s}), QStringList()) << room;
        EXPECT_FALSE(QFile::exists(path(u".new-2"_s))) << room;
    }
    m_program.setVariable(u"LD_PRELOAD"_s, {});
    expectOneWholeBuild("full");
}

TEST_F(Updates, AreWholeWhereThePowerGoesRightAfterThem)
{
    announce();
    m_program.configure({{u"mode"_s, u"wall"_s}});
    losePowerAtTheEnd();
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"update: 1.2.0 downloaded; installs on quit"_s));
    end();
    m_program.setVariable(u"LD_PRELOAD"_s, {});
    EXPECT_EQ(current(), 2);
    expectOneWholeBuild("updated");
}

// Kills the program, and with it all that it started, at any moment of an update.
TEST_F(Updates, LeaveOneWholeBuildWheneverTheyAreKilled)
{
    announce();
    m_program.configure({{u"installUpdatesNow"_s, true}});
    const QString pristine = m_program.home() + u"/pristine"_s;
    shell({u"cp"_s, u"-a"_s, prefix(), pristine});
    const auto start = [this] {
        return std::make_unique<test::ChildProcess>(test::Command{
            u"setsid"_s, {path(u"bin/corvella"_s)}, m_program.environment(), m_program.home()});
    };
    const auto kill = [](test::ChildProcess &process) {
        ::kill(-static_cast<pid_t>(process.id()), SIGKILL);
        (void)process.exitStatus();
    };
    const auto goBack = [&] {
        QDir(prefix()).removeRecursively();
        shell({u"cp"_s, u"-al"_s, pristine, prefix()});
    };
    goBack();
    const test::Stopwatch stopwatch;
    {
        const auto process = start();
        ASSERT_TRUE(starts(2));
        kill(*process);
    }
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(stopwatch.elapsed());
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int64_t> anyTime(0, whole.count());
    std::map<int, int> leftAt;
    const int times = test::repetitions("CORVELLA_UPDATE_KILLS", 8);
    for (int i = 0; i < times && !HasFailure(); ++i) {
        goBack();
        const std::chrono::microseconds moment(anyTime(random));
        const std::string when = "killed after " + std::to_string(moment.count()) + " us";
        {
            const auto process = start();
            EXPECT_FALSE(process->endsWithin(moment)) << when;
            kill(*process);
        }
        ++leftAt[current()];
        expectOneWholeBuild(when);
        // And the next start gets through.
        const auto process = start();
        EXPECT_TRUE(starts(2)) << when;
        kill(*process);
        expectOneWholeBuild("after " + when);
    }
    std::cout << whole.count() / 1000 << " ms each; the old build was left " << leftAt[1]
              << " times, the new one " << leftAt[2] << " times" << std::endl;
}

// Makes one system call of an update fail, of the program and of all that it starts.
TEST_F(Updates, LeaveOneWholeBuildWhicheverSystemCallFails)
{
    announce();
    m_program.configure({{u"installUpdatesNow"_s, true}});
    const QString pristine = m_program.home() + u"/pristine"_s;
    shell({u"cp"_s, u"-a"_s, prefix(), pristine});
    const auto goBack = [&] {
        QDir(prefix()).removeRecursively();
        shell({u"cp"_s, u"-al"_s, pristine, prefix()});
    };
    goBack();
    // Through, when the new build runs, or the program has said why not, or is gone.
    const auto attempt = [&] {
        m_program.start();
        const bool isThrough = becomes([this] {
            const QStringList told = m_program.messages().filter(u"update: "_s);
            return running(2) || !m_program.process().isRunning()
                || told.size() > told.count(kInstalling);
        });
        EXPECT_TRUE(isThrough) << "hangs: " << m_program.process().errors().toStdString();
        m_program.process().signal(SIGTERM);
        EXPECT_TRUE(becomes([this] {
            return !m_program.process().isRunning() && !running(1) && !running(2);
        })) << "does not end: "
            << m_program.process().errors().toStdString();
    };
    QStringList usual; // what it says where nothing fails
    test::failEachCall(m_program, {test::repetitions("CORVELLA_UPDATE_FAULTS", 2)}, attempt,
                       [&](const std::string &when) {
                           const bool isUpdated = current() == 2;
                           const QStringList lines = m_program.process().errorLines();
                           if (usual.isEmpty())
                               usual = lines;
                           // Debian's shell takes a launcher that it cannot read for an empty one.
                           const bool isTheShells = when == "read EIO at call 1";
                           EXPECT_TRUE(isUpdated || isTheShells || test::saysMoreThan(usual, lines))
                               << "not a word of why: " << qPrintable(lines.join(u'\n'));
                           expectOneWholeBuild(when);
                           if (!isUpdated) {
                               m_program.start();
                               EXPECT_TRUE(starts(2)) << "the next start does not get through";
                               end();
                               expectOneWholeBuild("after " + when);
                           }
                           goBack();
                           return isUpdated ? "updated" : "not updated, with a line";
                       });
}

} // namespace
} // namespace corvella
