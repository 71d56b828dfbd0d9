#include "platform/update/Installation.h"
#include "InstalledCopy.h"
#include "support/QtPrinting.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using Kind = Installation::Kind;
using testing::ElementsAre;

class InstallationTest : public testing::Test
{
protected:
    [[nodiscard]] QString work(const QString &name) const
    {
        return m_copy.path(u".update/" + name);
    }

    test::TemporaryHome m_home;
    test::InstalledCopy m_copy{m_home};
};

TEST_F(InstallationTest, KnowsACopyFromABundleByWhereItLies)
{
    const Installation ours = m_copy.installation();
    EXPECT_EQ(ours.kind(), Kind::fromBundle);
    EXPECT_EQ(ours.identity(), (BuildIdentity{u"1.0"_s, 1, u"linux-x86_64"_s}));
    EXPECT_EQ(ours.launcher(), m_copy.path(u"bin/corvella"_s));
    EXPECT_TRUE(ours.isCurrent());
}

TEST_F(InstallationTest, LeavesAloneWhatThePackageManagerOwns)
{
    m_home.write(m_copy.path(u"1/share/corvella/package-manager"_s), "");
    EXPECT_EQ(m_copy.installation().kind(), Kind::packageManager);
    EXPECT_EQ(Installation(u"/usr/bin/corvella"_s).kind(), Kind::packageManager);
    EXPECT_EQ(Installation(u"/usr/lib/corvella/1/bin/corvella"_s).kind(), Kind::packageManager);
    EXPECT_EQ(Installation(u"/app/bin/corvella"_s).kind(), Kind::packageManager);
    EXPECT_EQ(Installation(u"/usr/local/bin/corvella"_s).kind(), Kind::loose);
    EXPECT_EQ(Installation(u"/apple/bin/corvella"_s).kind(), Kind::loose);
}

TEST_F(InstallationTest, KnowsACopyThatSomebodyPutThere)
{
    EXPECT_EQ(Installation(m_home.path(u"build/bin/corvella"_s)).kind(), Kind::loose);
    m_copy.add(7, u"7"_s);
    ASSERT_TRUE(QDir().rename(m_copy.path(u"7"_s), m_copy.path(u"8"_s)));
    EXPECT_EQ(m_copy.installation(8).kind(), Kind::loose); // the folder says 8, the build 7
    ASSERT_TRUE(QFile::remove(m_copy.path(u"current"_s)));
    EXPECT_EQ(m_copy.installation().kind(), Kind::loose);
}

TEST_F(InstallationTest, RefusesAFolderThatOthersCanWriteTo)
{
    EXPECT_TRUE(m_copy.installation().makeWorkFolder().isOk());
    for (const mode_t mode : {0777U, 0775U, 0757U}) {
        ASSERT_EQ(::chmod(QFile::encodeName(m_copy.path()).constData(), mode), 0);
        EXPECT_EQ(m_copy.installation().makeWorkFolder().status, FileStatus::failed) << mode;
    }
    ASSERT_EQ(::chmod(QFile::encodeName(m_copy.path()).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(m_copy.path(u".update"_s)).constData(), 0777), 0);
    EXPECT_EQ(m_copy.installation().makeWorkFolder().status, FileStatus::failed);
}

TEST_F(InstallationTest, KeepsItsWorkToItself)
{
    ASSERT_TRUE(m_copy.installation().makeWorkFolder().isOk());
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_copy.path(u".update"_s)).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(InstallationTest, SwitchesByOneLinkAndKeepsTheOldBuild)
{
    m_copy.add(2, u"1.1"_s);
    const Installation old = m_copy.installation();
    ASSERT_TRUE(old.makeWorkFolder().isOk());
    ASSERT_TRUE(old.switchTo(2).isOk());
    EXPECT_EQ(m_copy.link(u"current"_s), u"2"_s);
    EXPECT_EQ(m_copy.link(u"previous"_s), u"1"_s);
    EXPECT_TRUE(QFile::exists(work(u"trial-2"_s)));
    EXPECT_FALSE(old.isCurrent());
    EXPECT_THAT(m_copy.names(),
                ElementsAre(u".update"_s, u"1"_s, u"2"_s, u"bin"_s, u"current"_s, u"previous"_s));
}

TEST_F(InstallationTest, DoesNotSwitchToWhatIsNotThereNorBack)
{
    const Installation old = m_copy.installation();
    ASSERT_TRUE(old.makeWorkFolder().isOk());
    EXPECT_FALSE(old.switchTo(2).isOk());
    EXPECT_EQ(m_copy.link(u"current"_s), u"1"_s);
    // Another process was quicker with a newer one.
    m_copy.add(2, u"1.1"_s);
    m_copy.add(3, u"1.2"_s);
    ASSERT_TRUE(m_copy.installation().switchTo(3).isOk());
    EXPECT_FALSE(old.switchTo(2).isOk());
    EXPECT_EQ(m_copy.link(u"current"_s), u"3"_s);
}

TEST_F(InstallationTest, AStartedBuildEndsItsTrialAndClearsUp)
{
    for (const qint64 build : {2, 3, 4, 5})
        m_copy.add(build, u"x"_s);
    m_home.write(m_copy.path(u".new-6/bin/corvella"_s), "half");
    m_home.write(m_copy.path(u"notes.txt"_s), "a user's");
    m_home.write(m_copy.path(u"photos/sun.png"_s), "a user's");
    ASSERT_TRUE(m_copy.installation().makeWorkFolder().isOk());
    ASSERT_TRUE(m_copy.installation().switchTo(2).isOk());
    ASSERT_TRUE(m_copy.installation(2).switchTo(3).isOk());
    m_home.write(work(u"failed-4"_s), "xx"); // 5 lies ready to follow
    {
        const auto another = m_copy.installation(3).lock();
        ASSERT_TRUE(another);
        const QStringList before = m_copy.names();
        m_copy.installation(3).clearUp();
        EXPECT_EQ(m_copy.names(), before); // it may need what lies there
    }
    m_copy.installation(3).endTrial();
    m_copy.installation(3).clearUp();
    EXPECT_FALSE(QFile::exists(work(u"trial-3"_s)));
    EXPECT_THAT(m_copy.names(),
                ElementsAre(u".update"_s, u"2"_s, u"3"_s, u"5"_s, u"bin"_s, u"current"_s,
                            u"notes.txt"_s, u"photos"_s, u"previous"_s));
}

TEST_F(InstallationTest, AStartedBuildBringsItsLauncher)
{
    m_home.write(m_copy.path(u"1/share/corvella/launcher"_s), "newer");
    ASSERT_TRUE(m_copy.installation().makeWorkFolder().isOk());
    m_copy.installation().clearUp();
    EXPECT_EQ(test::TemporaryHome::read(m_copy.path(u"bin/corvella"_s)), QByteArray("newer"));
    EXPECT_EQ(::access(QFile::encodeName(m_copy.path(u"bin/corvella"_s)).constData(), X_OK), 0);
}

TEST_F(InstallationTest, RemembersTheHighestBuildThatFailed)
{
    ASSERT_TRUE(m_copy.installation().makeWorkFolder().isOk());
    EXPECT_EQ(m_copy.installation().failedBuild(), 0);
    for (const char *name :
         {"failed-9", "failed-10", "failed-", "failed-x", "failed-011", "trial-12"})
        m_home.write(work(QString::fromLatin1(name)), "xx");
    EXPECT_EQ(m_copy.installation().failedBuild(), 10);
}

} // namespace
} // namespace corvella
