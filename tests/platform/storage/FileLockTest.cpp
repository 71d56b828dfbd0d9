#include "platform/storage/FileLock.h"
#include "platform/storage/OrdinaryUser.h"
#include "support/OtherOwner.h"
#include "support/TemporaryHome.h"

#include <QFile>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace corvella {
namespace {

// Whether somebody else could take the lock now.
bool isFree(const QString &path)
{
    const FileDescriptor other(::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC));
    return ::flock(other.get(), LOCK_EX | LOCK_NB) == 0;
}

TEST(FileLockTest, HoldsUntilItsEnd)
{
    const test::TemporaryHome home;
    const QString path = home.path(QStringLiteral("lock"));
    {
        const std::optional<FileLock> lock = FileLock::acquire(path);
        ASSERT_TRUE(lock);
        EXPECT_FALSE(isFree(path));
    }
    EXPECT_TRUE(isFree(path));
}

TEST(FileLockTest, CanBeTakenAgainWithTheFileOfBefore)
{
    const test::TemporaryHome home;
    const QString path = home.path(QStringLiteral("lock"));
    EXPECT_TRUE(FileLock::acquire(path));
    EXPECT_TRUE(FileLock::acquire(path));
}

TEST(FileLockTest, IsForTheUserAloneWhateverTheUmask)
{
    const test::TemporaryHome home;
    const QString path = home.path(QStringLiteral("lock"));
    const mode_t before = ::umask(0);
    EXPECT_TRUE(FileLock::acquire(path));
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(FileLockTest, IsTheUsersWhoeverHasMadeIt)
{
    const test::TemporaryHome home;
    const test::OtherOwner other;
    ASSERT_EQ(::chown(QFile::encodeName(home.path()).constData(), other.user, other.group), 0);
    const QString path = home.path(QStringLiteral("lock"));
    EXPECT_TRUE(FileLock::acquire(path));
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_uid, other.user);
}

TEST(FileLockTest, IsNoFileThatALinkLeadsTo)
{
    const test::TemporaryHome home;
    const QString path = home.path(QStringLiteral("lock"));
    home.write(home.path(QStringLiteral("foreign")), "theirs");
    ASSERT_TRUE(QFile::link(home.path(QStringLiteral("foreign")), path));
    EXPECT_FALSE(FileLock::acquire(path));
}

TEST(FileLockTest, GivesUpOnAHolderThatDoesNotLetGo)
{
    const test::TemporaryHome home;
    const QString path = home.path(QStringLiteral("lock"));
    const std::optional<FileLock> stuck = FileLock::acquire(path);
    ASSERT_TRUE(stuck);
    const std::optional<FileLock> second = FileLock::acquire(path);
    const int error = errno;
    EXPECT_FALSE(second);
    EXPECT_EQ(error, EWOULDBLOCK);
}

TEST(FileLockTest, DoesNotWaitWhenToldNotTo)
{
    const test::TemporaryHome home;
    const QString path = home.path(QStringLiteral("lock"));
    const std::optional<FileLock> held = FileLock::acquire(path);
    ASSERT_TRUE(held);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(FileLock::acquire(path, std::chrono::milliseconds(0)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLongestLockWait);
}

TEST(FileLockTest, CannotBeTakenWithoutAFolder)
{
    const test::TemporaryHome home;
    const std::optional<FileLock> lock =
        FileLock::acquire(home.path(QStringLiteral("absent/lock")));
    const int error = errno;
    EXPECT_FALSE(lock);
    EXPECT_EQ(error, ENOENT);
}

TEST(FileLockTest, SaysThatItMayNotBeMade)
{
    const test::TemporaryHome home;
    const test::OrdinaryUser user(home.path());
    ASSERT_TRUE(QFile::setPermissions(home.path(), QFile::ReadOwner | QFile::ExeOwner));
    const std::optional<FileLock> lock = FileLock::acquire(home.path(QStringLiteral("lock")));
    const int error = errno;
    ASSERT_TRUE(
        QFile::setPermissions(home.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    EXPECT_FALSE(lock);
    EXPECT_EQ(error, EACCES);
}

} // namespace
} // namespace corvella
