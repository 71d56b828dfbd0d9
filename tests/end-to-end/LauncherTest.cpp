// packaging/launcher, which starts the builds of an installed copy, with builds that are scripts.
#include "support/ChildProcess.h"
#include "support/QtPrinting.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

class Launcher : public testing::Test
{
protected:
    Launcher()
    {
        EXPECT_TRUE(QDir().mkpath(path(u"bin"_s)));
        EXPECT_TRUE(
            QFile::copy(QStringLiteral(CORVELLA_PACKAGING "/launcher"), path(u"bin/corvella"_s)));
        addBuild(1, "echo \"one $*\"");
        link(u"current"_s, 1);
    }

    [[nodiscard]] QString path(const QString &name) const { return m_home.path(u"opt/"_s + name); }
    void addBuild(int build, const QByteArray &script) const
    {
        const QString file = path(QString::number(build) + u"/bin/corvella"_s);
        m_home.write(file, "#!/bin/sh\n" + script + '\n');
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    void link(const QString &name, int build) const
    {
        QFile::remove(path(name));
        EXPECT_TRUE(QFile::link(QString::number(build), path(name)));
    }
    // Installs a second build, as Installation::switchTo() does.
    void install(const QByteArray &script) const
    {
        addBuild(2, script);
        m_home.write(path(u".update/trial-2"_s), "");
        link(u"previous"_s, 1);
        link(u"current"_s, 2);
    }
    [[nodiscard]] test::Command command() const
    {
        return {path(u"bin/corvella"_s), {u"--start"_s, u"two words"_s}, m_environment, {}};
    }
    struct Ending
    {
        std::optional<int> status;
        QByteArray output;
    };
    [[nodiscard]] Ending start() const
    {
        test::ChildProcess process(command());
        const std::optional<int> status = process.exitStatus();
        return {status, process.output()};
    }
    [[nodiscard]] int current() const
    {
        return QFileInfo(QFile::symLinkTarget(path(u"current"_s))).fileName().toInt();
    }
    [[nodiscard]] bool has(const QString &name) const { return QFile::exists(path(name)); }

    test::TemporaryHome m_home;
    QProcessEnvironment m_environment = test::bareEnvironment();
};

const QByteArray kStarted = "rm \"$(dirname \"$0\")/../../.update/trial-2\"";

TEST_F(Launcher, StartsTheCurrentBuildWithItsArguments)
{
    const Ending ending = start();
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.output, QByteArray("one --start two words\n"));
    addBuild(1, "exit 7");
    EXPECT_EQ(start().status, 7);
}

TEST_F(Launcher, IsFoundThroughALink)
{
    ASSERT_TRUE(QFile::link(path(u"bin/corvella"_s), m_home.path(u"corvella"_s)));
    EXPECT_EQ(test::run({m_home.path(u"corvella"_s), {}, test::bareEnvironment(), {}}),
              QByteArray("one \n"));
}

TEST_F(Launcher, PutsBackTheOldBuildWhenTheNewOneDoesNotStartTwice)
{
    for (const char *script : {"echo two; exit 1", "echo two; kill -SEGV $$"}) {
        link(u"current"_s, 1);
        install(script);
        const Ending ending = start();
        EXPECT_EQ(ending.status, 0);
        EXPECT_EQ(ending.output, QByteArray("two\ntwo\none --start two words\n"));
        EXPECT_EQ(current(), 1);
        EXPECT_TRUE(has(u".update/failed-2"_s));
        EXPECT_FALSE(has(u".update/trial-2"_s));
        EXPECT_EQ(start().output, QByteArray("one --start two words\n"));
    }
}

TEST_F(Launcher, PutsItBackWhereTheNewOneCannotBeLoadedAtAll)
{
    install("");
    m_home.write(path(u"2/bin/corvella"_s), "#!/no/such/interpreter\n");
    EXPECT_EQ(start().output, QByteArray("one --start two words\n"));
    EXPECT_EQ(current(), 1);
}

TEST_F(Launcher, PutsItBackOnAFullDisk)
{
    install("exit 1");
    m_environment.insert(u"LD_PRELOAD"_s, QStringLiteral(CORVELLA_DISK_FAULTS));
    m_environment.insert(u"DISK_FAULTS_FOLDER"_s, m_home.path(u"opt"_s));
    m_environment.insert(u"DISK_FAULTS_ROOM"_s, u"0"_s);
    EXPECT_EQ(start().output, QByteArray("one --start two words\n"));
    EXPECT_EQ(current(), 1);
}

TEST_F(Launcher, CountsFailuresFromStartToStart)
{
    // The power goes while it starts: nobody sees how that ended.
    install("echo two; kill -KILL $PPID");
    EXPECT_EQ(start().output, QByteArray("two\n"));
    EXPECT_EQ(start().output, QByteArray("two\n"));
    EXPECT_EQ(start().output, QByteArray("one --start two words\n"));
    EXPECT_EQ(current(), 1);
}

TEST_F(Launcher, KeepsABuildThatStarted)
{
    install("echo two; " + kStarted + "; exit 3");
    EXPECT_EQ(start().status, 3); // later, for a reason of its own
    EXPECT_EQ(current(), 2);
    EXPECT_EQ(start().output, QByteArray("two\n"));
    EXPECT_EQ(current(), 2);
}

TEST_F(Launcher, GivesASecondChance)
{
    install("[ -e \"$0.tried\" ] || { touch \"$0.tried\"; exit 1; }; echo two; " + kStarted);
    const Ending ending = start();
    EXPECT_EQ(ending.output, QByteArray("two\n"));
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(current(), 2);
}

TEST_F(Launcher, TakesAnEarlyEndInOrderForNoVerdict)
{
    install("exit 0");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(start().status, 0);
    EXPECT_EQ(current(), 2);
    EXPECT_TRUE(has(u".update/trial-2"_s));
}

// There is no display, or it has gone.
TEST_F(Launcher, TakesWantOfADisplayForNoVerdict)
{
    install("echo two; exit 69");
    for (int i = 0; i < 5; ++i) {
        const Ending ending = start();
        EXPECT_EQ(ending.status, 69);
        EXPECT_EQ(ending.output, QByteArray("two\n"));
    }
    EXPECT_EQ(current(), 2);
    EXPECT_TRUE(has(u".update/trial-2"_s));
    addBuild(2, "exit 1"); // and the trial goes on
    EXPECT_EQ(start().output, QByteArray("one --start two words\n"));
}

TEST_F(Launcher, PassesTheEndOfASessionOn)
{
    install("trap 'echo told; exit 0' TERM; echo up; while :; do sleep 0.05; done");
    test::ChildProcess process(command());
    ASSERT_TRUE(test::becomes([&] { return process.output() == "up\n"; }));
    process.signal(SIGTERM);
    EXPECT_EQ(process.exitStatus(), 0);
    EXPECT_EQ(process.output(), QByteArray("up\ntold\n"));
}

TEST_F(Launcher, PassesTheEndOnWhereNoFileCanBeOpened)
{
    install("trap 'echo told; exit 5' TERM; echo up; while :; do sleep 0.05; done");
    test::ChildProcess process(command());
    ASSERT_TRUE(test::becomes([&] { return process.output() == "up\n"; }));
    const rlimit kNoMore{3, 3};
    ASSERT_EQ(prlimit(static_cast<pid_t>(process.id()), RLIMIT_NOFILE, &kNoMore, nullptr), 0);
    process.signal(SIGTERM);
    EXPECT_TRUE(test::becomes([&] { return process.output() == "up\ntold\n"; }));
    EXPECT_NE(process.exitStatus(), std::nullopt);
}

TEST_F(Launcher, TakesAnEndThatSomebodyAskedForForNoVerdict)
{
    install("echo up; while :; do sleep 0.05; done"); // dies of the signal
    for (int i = 0; i < 3; ++i) {
        test::ChildProcess process(command());
        ASSERT_TRUE(test::becomes([&] { return process.output() == "up\n"; }));
        process.signal(SIGTERM);
        EXPECT_EQ(process.exitStatus(), 128 + SIGTERM);
    }
    EXPECT_EQ(current(), 2);
}

TEST_F(Launcher, PutsBackTheOldBuildWhenTheNewOneHangsTwice)
{
    install("trap 'echo told' TERM; echo $$; while :; do sleep 0.05; done");
    for (int i = 0; i < 2; ++i) {
        test::ChildProcess process(command());
        ASSERT_TRUE(test::becomes([&] { return process.output().endsWith('\n'); }));
        const int build = process.output().trimmed().toInt();
        ASSERT_GT(build, 0);
        process.signal(SIGTERM);
        ASSERT_TRUE(test::becomes([&] { return process.output().endsWith("told\n"); }));
        ::kill(build, SIGKILL);
        EXPECT_EQ(process.exitStatus(), 128 + SIGKILL); // and is not started a second time
    }
    EXPECT_EQ(current(), 2);
    EXPECT_EQ(start().output, QByteArray("one --start two words\n"));
    EXPECT_EQ(current(), 1);
}

TEST_F(Launcher, StartsTheNewBuildWhereThereIsNoOther)
{
    install("echo two; exit 1");
    ASSERT_TRUE(QFile::remove(path(u"previous"_s)));
    EXPECT_EQ(start().output, QByteArray("two\ntwo\ntwo\n"));
    EXPECT_EQ(current(), 2);
}

} // namespace
} // namespace corvella
