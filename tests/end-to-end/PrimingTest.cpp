// The program with --prime and --refresh against a real imagery host; and what is left of the cache
// when its power or its disk fails in the middle.
#include "support/FaultServer.h"
#include "support/NginxServer.h"
#include "support/ProgramUnderTest.h"
#include "support/QtPrinting.h"
#include "support/Repetitions.h"
#include "support/SystemCallFaults.h"
#include "support/TestImageryHost.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::TestImageryHost;

const QString kBefore = u"20260924T194216"_s;
const QString kAfter = u"20260924T204216"_s;
constexpr qsizetype kClipBytes = 60'000; // several pieces of the network's size
const QString kPassed = u"corvella: pass: checked, 3 clips moved, 0 products dropped"_s;

class Priming : public testing::Test
{
protected:
    void serve(const TestImageryHost &host) { serve(host.folder()); }
    void serve(const QString &folder)
    {
        m_server = std::make_unique<test::NginxServer>(m_authority.issue({u"localhost"_s}), folder);
        m_program.configure({{u"imageryHost"_s, m_server->host()}});
        m_program.setVariable(u"SSL_CERT_FILE"_s, m_authority.certificate());
    }
    std::optional<int> runProgram(const QString &option = u"--prime"_s)
    {
        m_program.start({option});
        return m_program.process().exitStatus();
    }
    [[nodiscard]] QString path(const QString &name) const
    {
        return QDir(m_program.cacheFolder()).filePath(name);
    }
    [[nodiscard]] QByteArray content(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QStringList files() const
    {
        return QDir(m_program.cacheFolder()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    [[nodiscard]] QJsonArray manifest() const
    {
        return QJsonDocument::fromJson(content(u"manifest.json"_s)).array();
    }

    test::TestAuthority m_authority;
    std::unique_ptr<test::NginxServer> m_server;
    test::ProgramUnderTest m_program;
};

TEST_F(Priming, DownloadsEverythingAndEnds)
{
    const TestImageryHost host(TestImageryHost::kProducts);
    serve(host);
    m_program.configure({{u"products"_s, QJsonArray{u"171"_s}}});
    EXPECT_EQ(runProgram(), 0);
    EXPECT_EQ(m_program.messages().last(), u"pass: checked, 12 clips moved, 0 products dropped"_s);
    EXPECT_TRUE(m_program.messages().first().startsWith(
        u"cache was empty, seeded with the bundled clip ("));
    EXPECT_EQ(manifest().size(), 12);
    for (const QString &id : TestImageryHost::kProducts)
        EXPECT_EQ(content(id + u".mp4"_s), TestImageryHost::clip(id));
}

TEST_F(Priming, RefreshDownloadsWhatTheScreensNeedAndAsksForNothingTheSecondTime)
{
    const TestImageryHost host(TestImageryHost::kProducts);
    serve(host);
    m_program.configure({{u"products"_s, QJsonArray{u"171,304"_s, u"off"_s}}});
    EXPECT_EQ(runProgram(u"--refresh"_s), 0);
    EXPECT_EQ(m_program.messages().last(), u"pass: checked, 2 clips moved, 0 products dropped"_s);
    EXPECT_EQ(manifest().size(), 2);
    EXPECT_EQ(m_server->takeRequests().size(), 5);
    EXPECT_EQ(runProgram(u"--refresh"_s), 0);
    EXPECT_TRUE(m_server->takeRequests().isEmpty());
    EXPECT_TRUE(m_program.messages().isEmpty());
}

TEST_F(Priming, ShowsWhatWasDownloadedAfterTheSeed)
{
    const TestImageryHost host({u"171"_s});
    serve(host);
    EXPECT_EQ(runProgram(), 0);
    ASSERT_EQ(manifest().size(), 1);
    EXPECT_EQ(manifest().first().toObject().value(u"video"_s), u"171.mp4"_s);
}

TEST_F(Priming, TakesTheSimulatedSunForAnImageryHost)
{
    const QTemporaryDir tree;
    test::run({QStringLiteral(CORVELLA_SUN),
               {u"host"_s, tree.path(), u"--size"_s, u"64"_s, u"--frames"_s, u"2"_s,
                u"--products"_s, u"171,dem"_s},
               test::bareEnvironment(),
               {}});
    serve(tree.path());
    EXPECT_EQ(runProgram(), 0);
    EXPECT_EQ(m_program.messages().last(), u"pass: checked, 2 clips moved, 0 products dropped"_s);
    ASSERT_EQ(manifest().size(), 2);
    EXPECT_EQ(manifest().last().toObject().value(u"id"_s), u"dem"_s);
    EXPECT_FALSE(QImage(path(u"171.png"_s)).isNull());
}

TEST_F(Priming, IsDoneByARunningProgramBesideTheWall)
{
    const TestImageryHost host({u"171"_s});
    serve(host);
    m_program.configure({{u"mode"_s, u"wall"_s}, {u"configured"_s, true}});
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"pass: checked, 1 clips moved, 0 products dropped"_s));
    EXPECT_TRUE(m_program.process().isRunning());
    EXPECT_EQ(content(u"171.mp4"_s), TestImageryHost::clip(u"171"_s));
}

TEST_F(Priming, DoesNotHoldAProgramThatIsToEnd)
{
    const test::FaultServer silent(
        m_authority.issue({u"localhost"_s}),
        [](test::FaultServer::Connection &connection) { connection.waitForClient(); });
    m_program.configure(
        {{u"mode"_s, u"desktop"_s}, {u"configured"_s, true}, {u"imageryHost"_s, silent.host()}});
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start();
    EXPECT_TRUE(test::becomes([&silent] { return silent.connections() > 0; }));
    const test::Stopwatch stopwatch;
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_LT(stopwatch.elapsed(), 10s) << "a silent host is given 20 s";
}

TEST_F(Priming, OfTwoProcessesAtOnceLosesAndTearsNothing)
{
    const TestImageryHost host(TestImageryHost::kProducts, kAfter, 1'000'000);
    serve(host);
    const auto start = [this] {
        QProcessEnvironment environment = m_program.environment();
        return std::make_unique<test::ChildProcess>(
            test::Command{test::ProgramUnderTest::executable(), {u"--prime"_s}, environment, {}});
    };
    std::vector<std::unique_ptr<test::ChildProcess>> processes;
    for (int i = 0; i < 3; ++i)
        processes.push_back(start());
    int moved = 0;
    for (const auto &process : processes) {
        EXPECT_EQ(process->exitStatus(), 0);
        EXPECT_TRUE(process->errors().contains("pass: checked, ")) << "none gave way";
        moved += process->errors().contains("pass: checked, 12 clips moved");
    }
    EXPECT_EQ(moved, 1) << "the others waited and found nothing newer";
    EXPECT_EQ(manifest().size(), 12);
    for (const QString &id : TestImageryHost::kProducts)
        EXPECT_EQ(content(id + u".mp4"_s), TestImageryHost::clip(id, kAfter, 1'000'000));
}

// A cache that holds the clips of one moment while the host offers those of the next.
class Failing : public Priming
{
protected:
    const QStringList kProducts{u"171"_s, u"304"_s, u"dem"_s};

    Failing()
    {
        serve(m_host);
        EXPECT_EQ(runProgram(), 0);
        keep();
        for (const QString &id : kProducts)
            m_host.offer(id, kAfter, kClipBytes);
        m_program.setVariable(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
        m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, m_program.cacheFolder());
    }

    // How many calls and bytes an undisturbed priming takes.
    std::pair<int, int> measure()
    {
        const QString report = QDir(m_program.home()).filePath(u"report"_s);
        m_program.setVariable(u"DISK_FAULTS_REPORT"_s, report);
        EXPECT_EQ(runProgram(), 0);
        m_program.setVariable(u"DISK_FAULTS_REPORT"_s, {});
        QFile file(report);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> numbers = file.readAll().trimmed().split(' ');
        EXPECT_EQ(numbers.size(), 2);
        expectTheNewStateAndNothingElse("undisturbed");
        goBack();
        return {numbers.first().toInt(), numbers.last().toInt()};
    }

    void keep()
    {
        QFile settings(m_program.settingsFile());
        EXPECT_TRUE(settings.open(QIODevice::ReadOnly));
        m_settings = settings.readAll();
        for (const QString &name : files())
            m_kept.insert(name, content(name));
    }
    // Makes the cache what it was, as far as a reader can tell.
    void goBack()
    {
        for (const QString &name : files())
            QFile::remove(path(name));
        for (auto file = m_kept.cbegin(); file != m_kept.cend(); ++file) {
            QFile target(path(file.key()));
            EXPECT_TRUE(target.open(QIODevice::WriteOnly));
            target.write(file.value());
        }
        QFile settings(m_program.settingsFile());
        EXPECT_TRUE(settings.open(QIODevice::WriteOnly));
        settings.write(m_settings);
    }

    // Old imagery is never called new. New imagery has its date, unless a fault came between the
    // two steps: then it is asked for again.
    void expectTrueDate(const QString &file, const QString &note, bool isOld,
                        const std::string &when)
    {
        const bool isAskedForAgain = !content(file + u".src"_s).contains(kAfter.toUtf8());
        EXPECT_TRUE(content(note) == (isOld ? "2026-09-24T19:42:16Z" : "2026-09-24T20:42:16Z")
                    || (!isOld && isAskedForAgain))
            << when << ": " << content(note).toStdString() << " in " << note.toStdString();
    }
    // What had no room leaves all that is known of the old files.
    void expectOldFilesToBeKnown(const std::string &when)
    {
        const auto isKnown = [this](const QString &file) {
            return content(file + u".src"_s).contains(kBefore.toUtf8());
        };
        for (const QString &id : kProducts) {
            const QString clip = id + u".mp4"_s;
            const QString still = id + u".png"_s;
            EXPECT_TRUE(content(clip) != TestImageryHost::clip(id, kBefore, kClipBytes)
                        || isKnown(clip))
                << when;
            EXPECT_TRUE(content(still) != TestImageryHost::still(id, kBefore) || isKnown(still))
                << when;
        }
    }
    // What every reader may rely on at any moment.
    void expectWholeFiles(const std::string &when)
    {
        for (const QString &id : kProducts) {
            const QByteArray clip = content(id + u".mp4"_s);
            EXPECT_TRUE(clip == TestImageryHost::clip(id, kBefore, kClipBytes)
                        || clip == TestImageryHost::clip(id, kAfter, kClipBytes))
                << when << ": " << id.toStdString();
            expectTrueDate(id + u".mp4"_s, id + u".stamp"_s,
                           clip == TestImageryHost::clip(id, kBefore, kClipBytes), when);
            const QByteArray still = content(id + u".png"_s);
            EXPECT_TRUE(still == TestImageryHost::still(id, kBefore)
                        || still == TestImageryHost::still(id, kAfter))
                << when << ": " << id.toStdString();
            expectTrueDate(id + u".png"_s, id + u".png.stamp"_s,
                           still == TestImageryHost::still(id, kBefore), when);
        }
        EXPECT_EQ(manifest().size(), kProducts.size()) << when;
    }
    void expectTheNewStateAndNothingElse(const std::string &when)
    {
        QStringList expected{u"index.json"_s,    u"index.json.etag"_s, u"index.json.src"_s,
                             u"manifest.json"_s, u"refresh.lock"_s,    u"seed.mp4"_s};
        for (const QString &id : kProducts) {
            EXPECT_EQ(content(id + u".mp4"_s), TestImageryHost::clip(id, kAfter, kClipBytes))
                << when;
            EXPECT_EQ(content(id + u".png"_s), TestImageryHost::still(id, kAfter)) << when;
            for (const char *suffix : {".mp4", ".mp4.etag", ".mp4.src", ".png", ".png.etag",
                                       ".png.src", ".png.stamp", ".stamp"})
                expected << id + QString::fromLatin1(suffix);
        }
        expected.sort();
        QStringList present = files();
        if (m_mayLackTags) {
            present.removeIf(isTag);
            expected.removeIf(isTag);
        }
        EXPECT_EQ(present, expected) << when;
        EXPECT_EQ(manifest().size(), kProducts.size()) << when;
        for (const auto &entry : manifest()) {
            EXPECT_EQ(entry.toObject().value(u"updated"_s), u"2026-09-24T20:42:16Z"_s) << when;
            EXPECT_EQ(entry.toObject().value(u"stillUpdated"_s), u"2026-09-24T20:42:16Z"_s) << when;
        }
    }
    static bool isTag(const QString &name) { return name.endsWith(u".etag"); }
    [[nodiscard]] bool isNew() const
    {
        const QJsonArray listed = manifest();
        return std::all_of(kProducts.begin(), kProducts.end(), [&](const QString &id) {
            return content(id + u".mp4"_s) == TestImageryHost::clip(id, kAfter, kClipBytes)
                && content(id + u".png"_s) == TestImageryHost::still(id, kAfter)
                && std::any_of(listed.begin(), listed.end(), [&id](const QJsonValue &value) {
                       const QJsonObject entry = value.toObject();
                       return entry.value(u"id"_s) == id
                           && entry.value(u"updated"_s) == u"2026-09-24T20:42:16Z"_s
                           && entry.value(u"stillUpdated"_s) == u"2026-09-24T20:42:16Z"_s;
                   });
        });
    }
    // Whatever the call that failed: the program ends by itself, every file is whole, what did not
    // come is told of, and the next run brings it.
    void failEachCallOf(const QString &option, const test::FaultChoice &choice)
    {
        test::SystemCallFaults::leave(m_program);
        // All are shown somewhere, and a check is due.
        QJsonObject settings = QJsonDocument::fromJson(m_settings).object();
        settings.insert(u"products"_s, QJsonArray{kProducts.join(u',')});
        settings.remove(u"lastCheck"_s);
        m_settings = QJsonDocument(settings).toJson();
        goBack();
        m_mayLackTags = true; // one that could not be stored costs a download, and is not told of
        test::failEachCall(
            m_program, choice,
            [&] { EXPECT_NE(runProgram(option), std::nullopt) << "hangs, or was killed"; },
            [&](const std::string &when) {
                const bool isDone = isNew();
                const QStringList lines = m_program.process().errorLines();
                EXPECT_TRUE(isDone || (!lines.isEmpty() && lines != QStringList{kPassed}))
                    << "not a word";
                expectRecovery(when);
                return isDone ? "all is new" : "a line says what is not new";
            });
    }
    void expectRecovery(const std::string &when)
    {
        expectWholeFiles(when);
        EXPECT_EQ(runProgram(), 0) << when;
        expectTheNewStateAndNothingElse(when);
        goBack();
    }

    TestImageryHost m_host{kProducts, kBefore, kClipBytes};
    QHash<QString, QByteArray> m_kept;
    QByteArray m_settings;
    bool m_mayLackTags = false;
};

TEST_F(Failing, PowerAtEachCallThatChangesTheDiskTearsNothing)
{
    const int calls = measure().first;
    EXPECT_GT(calls, 100);
    for (const bool areNamesLost : {false, true}) {
        const int step = areNamesLost ? test::repetitions("CORVELLA_POWER_STEP", 4) : 1;
        for (int call = 1; call <= calls && !HasFailure(); call += step) {
            if (areNamesLost)
                m_program.setVariable(u"DISK_FAULTS_NO_NAMES"_s, u"1"_s);
            m_program.setVariable(u"DISK_FAULTS_KILL_AT"_s, QString::number(call));
            EXPECT_EQ(runProgram(), std::nullopt) << "killed at call " << call;
            m_program.setVariable(u"DISK_FAULTS_KILL_AT"_s, {});
            m_program.setVariable(u"DISK_FAULTS_NO_NAMES"_s, {});
            expectRecovery("power failed at call " + std::to_string(call)
                           + (areNamesLost ? ", and took names along" : ""));
        }
    }
}

TEST_F(Failing, PowerRightAfterTheEndLosesNothing)
{
    measure();
    m_program.setVariable(u"DISK_FAULTS_AT_END"_s, u"1"_s);
    m_program.setVariable(u"DISK_FAULTS_NO_NAMES"_s, u"1"_s);
    EXPECT_EQ(runProgram(), 0);
    expectTheNewStateAndNothingElse("the power failed right after the end");
}

TEST_F(Failing, PowerAtAnyMomentTearsNothing)
{
    measure();
    const test::Stopwatch stopwatch;
    EXPECT_EQ(runProgram(), 0);
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(stopwatch.elapsed());
    goBack();
    std::mt19937 random(1);
    std::uniform_int_distribution<int64_t> anyTime(0, whole.count());
    for (int i = 0; i < test::repetitions("CORVELLA_POWER_CUTS", 80) && !HasFailure(); ++i) {
        const std::chrono::microseconds moment(anyTime(random));
        m_program.start({u"--prime"_s});
        if (!m_program.process().endsWithin(moment))
            m_program.process().signal(SIGKILL);
        (void)m_program.process().exitStatus();
        expectRecovery("killed after " + std::to_string(moment.count()) + " us");
    }
}

TEST_F(Failing, DiskThatFillsUpAtAnyOfManyPlacesTearsNothing)
{
    const int bytes = measure().second;
    const int places = test::repetitions("CORVELLA_FULL_DISKS", 40);
    for (int place = 0; place < places && !HasFailure(); ++place) {
        const int room = bytes * place / places;
        m_program.setVariable(u"DISK_FAULTS_ROOM"_s, QString::number(room));
        EXPECT_EQ(runProgram(), 0) << "full after " << room << " bytes";
        EXPECT_FALSE(m_program.messages().filter(u"No space left on device"_s).isEmpty())
            << "full after " << room << " bytes";
        EXPECT_TRUE(files().filter(u".tmp"_s).isEmpty());
        m_program.setVariable(u"DISK_FAULTS_ROOM"_s, {});
        expectOldFilesToBeKnown("full after " + std::to_string(room) + " bytes");
        expectRecovery("full after " + std::to_string(room) + " bytes");
    }
}

TEST_F(Failing, FileSystemThatKnowsNoLocksIsWrittenAllTheSame)
{
    m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, m_program.home()); // with the settings
    m_program.setVariable(u"DISK_FAULTS_NO_LOCKS"_s, u"1"_s);
    EXPECT_EQ(runProgram(), 0);
    EXPECT_THAT(m_program.process().errorLines(),
                testing::ElementsAre(u"corvella: the cache cannot be locked (No locks available), "
                                     "refreshing it all the same"_s,
                                     kPassed));
    expectTheNewStateAndNothingElse("without locks");
}

TEST_F(Failing, AnySystemCallOfAPrimingTearsNothing)
{
    failEachCallOf(u"--prime"_s, {test::repetitions("CORVELLA_SYSTEM_CALL_FAULTS", 10)});
}

TEST_F(Failing, AnySystemCallOfARefreshTearsNothing)
{
    failEachCallOf(u"--refresh"_s, {test::repetitions("CORVELLA_SYSTEM_CALL_FAULTS", 6)});
}

TEST_F(Failing, AnyThreadThatCannotBeHadTearsNothing)
{
    failEachCallOf(u"--prime"_s, {.most = 100, .name = "clone3"});
}

} // namespace
} // namespace corvella
