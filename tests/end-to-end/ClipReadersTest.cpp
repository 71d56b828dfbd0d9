// Clips are read by processes of their own, which come with the first clip and go with the last,
// reach nothing, and whose end is not the wall's.
#include "support/AlteredMachine.h"
#include "support/Processes.h"
#include "support/ProgramUnderTest.h"
#include "support/SpedUpTime.h"
#include "support/TestClip.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <unistd.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::procFile;

constexpr QRect kOnlyScreen(0, 0, 640, 480);

bool hasFFmpeg(qint64 process)
{
    return procFile(process, u"maps"_s).contains("libavcodec");
}

class ClipReaders : public testing::Test
{
protected:
    ClipReaders()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    [[nodiscard]] bool shows(int clip)
    {
        const auto seen = test::seenPattern(m_display.client().picture(), kOnlyScreen);
        return seen && seen->clip == clip;
    }

    [[nodiscard]] QList<qint64> starters()
    {
        return test::clipReadersOf(m_program.process().id()).starters;
    }
    [[nodiscard]] QList<qint64> readers()
    {
        return test::clipReadersOf(m_program.process().id()).readers;
    }
    // Those that have this clip open.
    [[nodiscard]] QList<qint64> readersOf(const QString &clip)
    {
        QList<qint64> found;
        for (const qint64 process : readers()) {
            if (test::hasOpen(process, clip))
                found << process;
        }
        return found;
    }
    [[nodiscard]] qsizetype complaints(const QString &reason)
    {
        return m_program.messages()
            .filter(u"clip does not play, passing it over: "_s)
            .filter(reason)
            .size();
    }

    // A clip whose decoder behaves like that never comes up, is given up after a while, and the
    // other one plays on.
    void isGivenUp(const QString &behaviour)
    {
        const test::SpedUpTime time(20); // a second is what twenty are
        const QString hostile = m_program.clipPath(u"193"_s);
        test::TestClip clip;
        clip.width = clip.height = 176;
        clip.write(hostile);
        QFile file(hostile);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        m_program.addFile(u"193"_s, file.readAll());
        time.take(m_program);
        m_program.setVariable(u"LD_PRELOAD"_s,
                              m_program.environment().value(u"LD_PRELOAD"_s) + u":"_s
                                  + QStringLiteral(CORVELLA_HOSTILE_DECODER));
        m_program.setVariable(u"HOSTILE_DECODER"_s, behaviour);
        m_program.setVariable(u"HOSTILE_DECODER_WIDTH"_s, u"176"_s);
        m_program.start();
        ASSERT_TRUE(becomes([this] { return shows(1); }));
        EXPECT_TRUE(becomes([&] { return !readersOf(m_program.clipPath(u"193"_s)).isEmpty(); }));
        EXPECT_TRUE(becomes(
            [this] { return complaints(u"193.mp4: what reads it does not answer"_s) == 1; }));
        EXPECT_TRUE(becomes([&] { return readersOf(m_program.clipPath(u"193"_s)).isEmpty(); }))
            << "it runs on";
        EXPECT_TRUE(becomes([this] { return shows(1); }));
    }

    test::VirtualDisplay m_display{kOnlyScreen.size()};
    test::ProgramUnderTest m_program;
};

TEST_F(ClipReaders, AreThereWhileAWallShows)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    EXPECT_EQ(starters().size(), 1);
    EXPECT_EQ(readers().size(), 1);
    EXPECT_TRUE(hasFFmpeg(readers().value(0)));
    EXPECT_FALSE(hasFFmpeg(m_program.process().id()));
}

TEST_F(ClipReaders, AreNotStartedByAProgramThatShowsNoClip)
{
    m_program.configure({{u"mode"_s, u"desktop"_s}});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"desktop mode: resident, no windows"_s));
    EXPECT_EQ(starters().size(), 0);
}

TEST_F(ClipReaders, EndWithTheProgramHoweverItEnds)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    const QList<qint64> all = starters() + readers();
    ASSERT_EQ(all.size(), 2);
    m_program.process().signal(SIGKILL);
    EXPECT_TRUE(becomes([&] {
        return std::none_of(all.begin(), all.end(), [](qint64 process) {
            const QByteArray status = procFile(process, u"status"_s);
            return !status.isEmpty() && !status.contains("State:\tZ");
        });
    }));
}

#ifndef CORVELLA_UNCONFINED
// As the kernel sees it. What that means is tried by HostileClip.
TEST_F(ClipReaders, AreConfinedAndHoldNothingButTheClip)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    const QList<qint64> all = readers();
    ASSERT_EQ(all.size(), 1);
    const QByteArray status = procFile(all[0], u"status"_s);
    EXPECT_TRUE(status.contains("Seccomp:\t2"));
    EXPECT_TRUE(status.contains("NoNewPrivs:\t1"));
    int files = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(all[0]) + "/fd")) {
        const QString name = QString::fromStdString(entry.path().filename().string());
        const std::string file = std::filesystem::read_symlink(entry.path()).string();
        if (name.toInt() == STDOUT_FILENO || name.toInt() == STDERR_FILENO) {
            EXPECT_EQ(file, "/dev/null");
        }
        if (name.toInt() <= STDERR_FILENO) // the first is its socket
            continue;
        ++files;
        EXPECT_EQ(file, QFileInfo(m_program.clipPath(u"171"_s)).canonicalFilePath().toStdString());
    }
    EXPECT_EQ(files, 1);
}
#endif

TEST_F(ClipReaders, ThatAreKilledLeaveTheWallToTheNextClip)
{
    m_program.addClip(u"193"_s, 2);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    const QList<qint64> all = readers();
    ASSERT_EQ(all.size(), 1);
    ::kill(static_cast<pid_t>(all[0]), SIGKILL);
    EXPECT_TRUE(becomes([this] { return shows(2); }));
    EXPECT_EQ(complaints(u"171.mp4: what reads it has ended: Killed"_s), 1);
}

TEST_F(ClipReaders, ThatAreKilledAreBackSoonWhereThereIsNoOtherClip)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    const QList<qint64> before = readers();
    ASSERT_EQ(before.size(), 1);
    ::kill(static_cast<pid_t>(before[0]), SIGKILL);
    EXPECT_TRUE(becomes([&] { return readers().size() == 1 && readers() != before; }));
    EXPECT_TRUE(becomes([this] { return shows(1); }));
}

// The kernel may choose that one where memory is short.
TEST_F(ClipReaders, AreStartedAnewWhenWhatStartsThemIsKilled)
{
    m_program.addClip(u"193"_s, 2);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    const QList<qint64> before = starters();
    ASSERT_EQ(before.size(), 1);
    ::kill(static_cast<pid_t>(before[0]), SIGKILL);
    EXPECT_TRUE(becomes([this] { return shows(2); }));
    EXPECT_EQ(complaints(u"171.mp4: what reads it has ended: with what had started it"_s), 1);
    EXPECT_NE(starters(), before);
}

// As a package manager leaves a program that runs on.
TEST_F(ClipReaders, AreThisBuildsThoughTheirFileIsGone)
{
    namespace fs = std::filesystem;
    const QTemporaryDir installed;
    const fs::path prefix(installed.path().toStdString());
    const fs::path built(test::ProgramUnderTest::executable().toStdString());
    fs::create_directory(prefix / "bin");
    fs::copy_file(built, prefix / "bin/corvella");
    fs::copy(built.parent_path() / "../lib", prefix / "lib", fs::copy_options::recursive);
    m_program.setExecutable(installed.filePath(u"bin/corvella"_s));
    m_program.addClip(u"193"_s, 2);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    const QList<qint64> before = starters();
    ASSERT_EQ(before.size(), 1);
    fs::remove_all(prefix / "lib");
    ::kill(static_cast<pid_t>(before[0]), SIGKILL);
    EXPECT_TRUE(becomes([this] { return shows(2); }));
    EXPECT_NE(starters(), before);
}

TEST_F(ClipReaders, ThatSpinAreGivenUp)
{
    isGivenUp(u"spin"_s);
}

TEST_F(ClipReaders, ThatChatterInsteadAreGivenUp)
{
    isGivenUp(u"chatter"_s);
}

// As any other reason for which a clip does not play.
TEST_F(ClipReaders, ThatAreMissingLeaveTheWallUp)
{
    const QString folder =
        QFileInfo(test::ProgramUnderTest::executable()).dir().filePath(u"../lib/corvella"_s);
    test::AlteredMachine machine;
    machine.emptyFolder(QDir::cleanPath(folder));
    m_program.setMachine(machine);
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"nothing to play here yet; looking again in 5 s"_s));
    EXPECT_EQ(complaints({}), 1);
    EXPECT_EQ(
        complaints(u"171.mp4: what reads clips cannot be started: No such file or directory"_s), 1);
    EXPECT_EQ(m_display.client().windows().size(), 1);
    EXPECT_TRUE(m_program.process().isRunning());
}

} // namespace
} // namespace corvella
