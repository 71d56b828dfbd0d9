// What is left of the settings, and what is told, when any one system call fails or the power does.
#include "end-to-end/SystemCallsFixture.h"
#include "support/Processes.h"
#include "support/QtPrinting.h"
#include "support/Repetitions.h"

#include <QJsonDocument>

#include <algorithm>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

TEST_F(SystemCalls, ThatFailInAWriteOfTheSettingsLeaveTheOldOnesOrTheNewOnes)
{
    m_program.configureWall();
    const QByteArray before = settings();
    QJsonObject expected = QJsonDocument::fromJson(before).object();
    expected.insert(u"imageryHost"_s, u"sun.example"_s);
    m_program.setExecutable(QStringLiteral(CORVELLA_DEFAULTS));
    const QStringList command{u"write"_s, u"imageryHost"_s, u"sun.example"_s};
    const auto expectNew = [&] {
        EXPECT_EQ(QJsonDocument::fromJson(settings()), QJsonDocument(expected));
    };
    const auto putBack = [&] {
        QFile file(m_program.settingsFile());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(before);
    };
    std::optional<int> status;
    test::failEachCall(
        m_program, {test::repetitions("CORVELLA_SYSTEM_CALL_FAULTS", 25)},
        [&] { status = run(command); },
        [&](const std::string & /*when*/) {
            EXPECT_NE(status, std::nullopt) << "hangs, or was killed";
            if (status == 0)
                expectNew();
            else
                EXPECT_FALSE(words().isEmpty()) << "not a word";
            const bool isStored = settings() != before;
            if (isStored)
                expectNew();
            putBack();
            EXPECT_EQ(run(command), 0);
            expectNew();
            putBack();
            return status == 0 ? "stored"
                : isStored     ? "stored, with a line"
                               : "not stored, with a line";
        });
}

TEST_F(SystemCalls, OfAWriteOfTheSettingsHaveItOnTheDiskWhenThatEnds)
{
    m_program.configureWall();
    m_program.setExecutable(QStringLiteral(CORVELLA_DEFAULTS));
    m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, QFileInfo(m_program.settingsFile()).path());
    m_program.setVariable(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
    m_program.setVariable(u"DISK_FAULTS_AT_END"_s, u"1"_s);
    m_program.setVariable(u"DISK_FAULTS_NO_NAMES"_s, u"1"_s);
    EXPECT_EQ(run({u"write"_s, u"mode"_s, u"kiosk"_s}), 0);
    EXPECT_EQ(QJsonDocument::fromJson(settings())[u"mode"_s], u"kiosk"_s);
}

TEST_F(SystemCalls, AtWhichThePowerFailsLeaveAMachineOfflineWhoseSettingsAreDamaged)
{
    m_program.configure({});
    const QByteArray damaged = R"({"offline": true, "mode")";
    m_program.setExecutable(QStringLiteral(CORVELLA_DEFAULTS));
    m_program.setVariable(u"DISK_FAULTS_FOLDER"_s, QFileInfo(m_program.settingsFile()).path());
    int call = 0;
    for (std::optional<int> status; status != 0 && call < 100; ++call) {
        QFile file(m_program.settingsFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(damaged);
        ASSERT_TRUE(file.flush());
        ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-60),
                                     QFile::FileModificationTime)); // nobody writes it any more
        file.close();
        m_program.setVariable(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
        m_program.setVariable(u"DISK_FAULTS_KILL_AT"_s, QString::number(call + 1));
        status = run({u"read"_s, u"offline"_s});
        m_program.setVariable(u"LD_PRELOAD"_s, {});
        EXPECT_EQ(run({u"read"_s, u"offline"_s}), 0) << "at call " << call + 1;
        EXPECT_EQ(m_program.process().output(), "true\n") << "at call " << call + 1;
    }
    EXPECT_GT(call, 3); // a second name, a file written and flushed, and renamed
}

#ifndef __SANITIZE_THREAD__ // which has a file of its own, and ends by the limit
TEST_F(SystemCalls, ThatWriteMoreThanALimitAllowsAreToldOf)
{
    m_program.setExecutable(u"prlimit"_s);
    const auto runLimited = [this](const QString &program, const QStringList &arguments) {
        return run(QStringList{u"--fsize=0"_s, program} + arguments);
    };
    m_program.configure({{u"offline"_s, true}});
    EXPECT_EQ(runLimited(QStringLiteral(CORVELLA_DEFAULTS), {u"write"_s, u"mode"_s, u"wall"_s}), 1);
    EXPECT_TRUE(words().contains("could not save")) << words().toStdString();
    EXPECT_TRUE(words().contains("(File too large)")) << words().toStdString();
    EXPECT_EQ(runLimited(test::ProgramUnderTest::executable(), {u"--refresh"_s}), 0);
    EXPECT_TRUE(words().contains("corvella: could not copy the built-in clip (File too large); the "
                                 "next start tries again\n"))
        << words().toStdString();
}
#endif

TEST_F(SystemCalls, ThatAreInterruptedTakeNoLineWithThem)
{
    m_program.addClip(u"171"_s, 1, 1);
    m_program.configure({{u"offline"_s, true}});
    test::failEachCall(
        m_program, {100, "write EINTR"}, [&] { EXPECT_EQ(run({u"--refresh"_s}), 0); },
        [&](const std::string & /*when*/) {
            EXPECT_EQ(words(), "corvella: offline or read-only, not refreshing the cache\n");
            return "told";
        });
}

#if !defined(__SANITIZE_ADDRESS__)                                                                 \
    && !defined(__SANITIZE_THREAD__) // whose readers are not confined
// Of a filter of its own for its calls, and a limit of its memory, how many a reader has.
int confinementsOf(test::ProgramUnderTest &program)
{
    const QList<qint64> readers = test::clipReadersOf(program.process().id()).readers;
    const auto filters = [](qint64 process) {
        const QByteArray status = test::procFile(process, u"status"_s);
        return status.mid(status.indexOf("Seccomp_filters:") + 16).trimmed().split('\n')[0].toInt();
    };
    const QByteArray limits = test::procFile(readers.value(0), u"limits"_s);
    const bool hasFilter = filters(readers.value(0)) > filters(program.process().id());
    const bool hasLimit = limits.contains("Max address space         2147483648");
    return int{hasFilter} + int{hasLimit};
}

TEST_F(SystemCalls, ThatFailWhereAReaderIsConfinedAreToldOf)
{
    m_program.configureWall();
    m_program.addClip(u"171"_s, 1); // so long that one reader is enough
    m_program.showOnPlatform(u"offscreen"_s);
    const auto warnings = [this] {
        return m_program.messages().filter(u"clips are read without all safety: "_s);
    };
    int usual = 0;
    int confinements = 0;
    test::failEachCall(
        m_program, {100, "confining"},
        [&] {
            m_program.start();
            ASSERT_TRUE(test::becomes([this] { // which it gets when it is confined
                const auto readers = test::clipReadersOf(m_program.process().id()).readers;
                return test::hasOpen(readers.value(0), m_program.clipPath(u"171"_s));
            }));
            confinements = confinementsOf(m_program);
            m_program.process().signal(SIGTERM);
            EXPECT_EQ(m_program.process().exitStatus(), 0);
        },
        [&](const std::string &when) {
            // What fails leaves the other one, and libseccomp asks for no_new_privs once more. A
            // device that decodes has no limit.
            if (when == test::kUndisturbed)
                usual = confinements;
            EXPECT_GE(confinements, std::max(usual - 1, 0)) << when;
            EXPECT_GT(usual, 0);
            EXPECT_EQ(warnings().isEmpty(), when == test::kUndisturbed);
            return warnings().isEmpty() ? "not a word" : "told";
        });
}
#endif

} // namespace
} // namespace corvella
