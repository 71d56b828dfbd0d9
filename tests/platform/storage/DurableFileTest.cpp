#include "platform/storage/DurableFile.h"
#include "platform/storage/OrdinaryUser.h"
#include "support/FileSizeLimit.h"
#include "support/OtherOwner.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace corvella {
namespace {

class DurableFileTest : public testing::Test
{
protected:
    QStringList names() const { return QDir(m_home.path()).entryList(QDir::Files | QDir::Hidden); }
    // All write, and none mixes with another.
    void writeInTurns() const
    {
        std::vector<std::thread> writers;
        for (const char letter : {'a', 'b', 'c', 'd'}) {
            writers.emplace_back([this, letter] {
                for (qsizetype i = 1; i <= 50; ++i)
                    EXPECT_TRUE(DurableFile::write(m_path, QByteArray(i * 100, letter)).isOk());
            });
        }
        for (std::thread &writer : writers)
            writer.join();
        const QByteArray content = m_home.read(m_path);
        EXPECT_FALSE(content.isEmpty());
        EXPECT_EQ(content.count(content.at(0)), content.size()) << "a mixture of two writers";
        EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
    }

    test::TemporaryHome m_home;
    QString m_path = m_home.path(QStringLiteral("file"));
    QString m_temporary = m_path + QStringLiteral(".tmp");
};

TEST_F(DurableFileTest, WritesANewFileAndLeavesNothingElse)
{
    EXPECT_TRUE(DurableFile::write(m_path, "content").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("content"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, ReplacesALongerFileWhole)
{
    m_home.write(m_path, "a much longer content than the new one");
    EXPECT_TRUE(DurableFile::write(m_path, "short").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("short"));
}

TEST_F(DurableFileTest, IsNotConfusedByWhatACrashLeftBeside)
{
    m_home.write(m_temporary, "half of an old content that never became visible");
    EXPECT_TRUE(DurableFile::write(m_path, "new").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("new"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, KeepsThePermissionBits)
{
    m_home.write(m_path, "secret");
    const auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;
    ASSERT_TRUE(QFile::setPermissions(m_path, ownerOnly));
    EXPECT_TRUE(DurableFile::write(m_path, "secret too").isOk());
    EXPECT_FALSE(QFile::permissions(m_path) & (QFile::ReadGroup | QFile::ReadOther));
}

TEST_F(DurableFileTest, MakesFilesForTheUserAloneWhateverTheUmask)
{
    for (const mode_t umask : {0U, 022U, 077U}) {
        const mode_t before = ::umask(umask);
        const QString path = m_home.path(QString::number(umask));
        EXPECT_TRUE(DurableFile::write(path, "secret").isOk());
        ::umask(before);
        struct stat status = {};
        ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U) << "umask " << umask;
    }
}

TEST_F(DurableFileTest, LeavesAFileItsOwner)
{
    const test::OtherOwner other;
    m_home.write(m_path, "old");
    ASSERT_EQ(::chown(QFile::encodeName(m_path).constData(), other.user, other.group), 0);
    EXPECT_TRUE(DurableFile::write(m_path, "new").isOk());
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_path).constData(), &status), 0);
    EXPECT_EQ(status.st_uid, other.user);
    EXPECT_EQ(status.st_gid, other.group);
}

TEST_F(DurableFileTest, WritesThroughNoLinkThatStandsAtTheTemporaryName)
{
    const QString foreign = m_home.path(QStringLiteral("foreign"));
    m_home.write(foreign, "theirs");
    ASSERT_TRUE(QFile::link(foreign, m_temporary));
    EXPECT_TRUE(DurableFile::write(m_path, "ours").isOk());
    EXPECT_EQ(m_home.read(foreign), QByteArray("theirs"));
    EXPECT_EQ(m_home.read(m_path), QByteArray("ours"));
    EXPECT_FALSE(QFileInfo(m_path).isSymLink());
}

TEST_F(DurableFileTest, WritesToNoPipeThatStandsAtTheTemporaryName)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(m_temporary).constData(), 0600), 0);
    EXPECT_TRUE(DurableFile::write(m_path, "ours").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("ours"));
}

TEST_F(DurableFileTest, IsNotStoppedByWhatWasToReplaceAReadOnlyFile)
{
    const test::OrdinaryUser user(m_home.path());
    m_home.write(m_temporary, "half");
    ASSERT_TRUE(QFile::setPermissions(m_temporary, QFile::ReadOwner));
    EXPECT_TRUE(DurableFile::write(m_path, "whole").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("whole"));
}

// An administrator's, for one. It cannot be asked whether somebody still writes it.
TEST_F(DurableFileTest, IsNotStoppedForLongByWhatItMayNotOpen)
{
    const test::OrdinaryUser user(m_home.path());
    m_home.write(m_temporary, "half");
    ASSERT_TRUE(QFile::setPermissions(m_temporary, {}));
    EXPECT_EQ(DurableFile::write(m_path, "whole").reason, QStringLiteral("Permission denied"));
    const timespec longAgo[] = {{1, 0}, {1, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(m_temporary).constData(), longAgo, 0), 0);
    EXPECT_TRUE(DurableFile::write(m_path, "whole").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("whole"));
}

TEST_F(DurableFileTest, WritesToNoFileThatStandsAtTheTemporaryName)
{
    const QByteArray theirs = QFile::encodeName(m_home.path(QStringLiteral("theirs")));
    const QByteArray temporary = QFile::encodeName(m_temporary);
    const test::OtherOwner other;
    m_home.write(QFile::decodeName(theirs), "theirs");
    ASSERT_EQ(::chown(theirs.constData(), other.user, other.group), 0);
    ASSERT_EQ(::chmod(theirs.constData(), 0666), 0);
    ASSERT_EQ(::link(theirs.constData(), temporary.constData()), 0);
    EXPECT_TRUE(DurableFile::write(m_path, "ours").isOk());
    EXPECT_EQ(m_home.read(QFile::decodeName(theirs)), QByteArray("theirs"));
    EXPECT_EQ(m_home.read(m_path), QByteArray("ours"));

    ASSERT_TRUE(QFile::remove(m_path));
    ASSERT_EQ(::rename(theirs.constData(), temporary.constData()), 0);
    EXPECT_TRUE(DurableFile::write(m_path, "ours").isOk());
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_path).constData(), &status), 0);
    EXPECT_EQ(status.st_uid, ::geteuid());
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, ReplacesWhatASymbolicLinkPointsTo)
{
    const QString real = m_home.path(QStringLiteral("real"));
    m_home.write(real, "old");
    ASSERT_TRUE(QFile::link(real, m_path));
    EXPECT_TRUE(DurableFile::write(m_path, "new").isOk());
    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_EQ(m_home.read(real), QByteArray("new"));
}

TEST_F(DurableFileTest, LeavesASymbolicLinkAloneThatPointsToNothingYet)
{
    const QString real = m_home.path(QStringLiteral("volume/real"));
    ASSERT_TRUE(QFile::link(real, m_path));
    EXPECT_FALSE(DurableFile::write(m_path, "new").isOk());
    ASSERT_TRUE(QDir().mkpath(m_home.path(QStringLiteral("volume"))));
    EXPECT_TRUE(DurableFile::write(m_path, "new").isOk());
    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_EQ(m_home.read(real), QByteArray("new"));
}

TEST_F(DurableFileTest, KeepsTheOldFileWhenTheDiskIsFull)
{
    m_home.write(m_path, "old");
    FileResult result;
    {
        const test::FileSizeLimit fullDisk(1000);
        result = DurableFile::write(m_path, QByteArray(2000, 'x'));
    }
    EXPECT_EQ(result.status, FileStatus::noSpace);
    EXPECT_EQ(result.reason, QStringLiteral("File too large"));
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, FailsWithoutAFolder)
{
    const FileResult result =
        DurableFile::write(m_home.path(QStringLiteral("absent/file")), "content");
    EXPECT_EQ(result.status, FileStatus::failed);
    EXPECT_EQ(result.reason, QStringLiteral("No such file or directory"));
}

TEST_F(DurableFileTest, FailsWhereADirectoryHasTheName)
{
    ASSERT_TRUE(QDir().mkpath(m_path));
    EXPECT_EQ(DurableFile::write(m_path, "content").reason, QStringLiteral("Is a directory"));
    EXPECT_TRUE(names().isEmpty());
}

TEST_F(DurableFileTest, FailsWhereTheTemporaryNameIsTaken)
{
    m_home.write(m_path, "old");
    ASSERT_TRUE(QDir().mkpath(m_temporary));
    EXPECT_FALSE(DurableFile::write(m_path, "new").isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
}

TEST_F(DurableFileTest, LetsWritersOfOneFileTakeTurns)
{
    writeInTurns();
}

TEST_F(DurableFileTest, LetsWritersOfOneReadOnlyFileTakeTurns)
{
    const test::OrdinaryUser user(m_home.path());
    m_home.write(m_path, "old");
    ASSERT_TRUE(QFile::setPermissions(m_path, QFile::ReadOwner));
    writeInTurns();
}

TEST_F(DurableFileTest, CopiesAFileOfManyBuffers)
{
    const QByteArray content = QByteArray(200'000, 'x') + "end";
    const QString source = m_home.path(QStringLiteral("source"));
    m_home.write(source, content);
    EXPECT_TRUE(DurableFile::copy(source, m_path).isOk());
    EXPECT_EQ(m_home.read(m_path), content);
    EXPECT_EQ(m_home.read(source), content);
}

TEST_F(DurableFileTest, KeepsTheOldFileWhenThereIsNothingToCopy)
{
    m_home.write(m_path, "old");
    EXPECT_FALSE(DurableFile::copy(m_home.path(QStringLiteral("absent")), m_path).isOk());
    EXPECT_FALSE(DurableFile::copy(m_home.path(), m_path).isOk()) << "a directory";
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, KeepsTheOldFileWhenTheDiskIsTooFullForTheCopy)
{
    const QString source = m_home.path(QStringLiteral("source"));
    m_home.write(source, QByteArray(2000, 'x'));
    m_home.write(m_path, "old");
    FileResult result;
    {
        const test::FileSizeLimit fullDisk(1000);
        result = DurableFile::copy(source, m_path);
    }
    EXPECT_EQ(result.status, FileStatus::noSpace);
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
}

TEST_F(DurableFileTest, ShowsContentThatComesInPiecesOnlyWhole)
{
    m_home.write(m_path, "old");
    PendingFile file(m_path);
    EXPECT_TRUE(file.append("new ", 4).isOk());
    EXPECT_TRUE(file.append("content", 7).isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
    EXPECT_TRUE(file.commit().isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("new content"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, NeedsNoRoomForContentThatWasSettled)
{
    m_home.write(m_path, "old");
    PendingFile file(m_path);
    EXPECT_TRUE(file.append("content", 7).isOk());
    EXPECT_TRUE(file.settle().isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
    const test::FileSizeLimit fullDisk(0);
    EXPECT_TRUE(file.commit(Flush::later).isOk());
    EXPECT_EQ(m_home.read(m_path), QByteArray("content"));
}

TEST_F(DurableFileTest, DropsWhatWasNotFinished)
{
    m_home.write(m_path, "old");
    {
        PendingFile file(m_path);
        EXPECT_TRUE(file.append("half", 4).isOk());
    }
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, DoesNotPutContentWithAGapInPlace)
{
    m_home.write(m_path, "old");
    {
        PendingFile file(m_path);
        {
            const test::FileSizeLimit fullDisk(10);
            const QByteArray farTooLong(1 << 20, 'x');
            EXPECT_EQ(file.append(farTooLong.constData(), size_t(farTooLong.size())).status,
                      FileStatus::noSpace);
        }
        EXPECT_EQ(file.append("short", 5).status, FileStatus::noSpace);
        EXPECT_EQ(file.commit().status, FileStatus::noSpace);
    }
    EXPECT_EQ(m_home.read(m_path), QByteArray("old"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("file")});
}

TEST_F(DurableFileTest, RemovesWhatCrashedWritersLeftAndNothingElse)
{
    m_home.write(m_path, "whole");
    m_home.write(m_home.path(QStringLiteral("a.tmp")), "half");
    m_home.write(m_home.path(QStringLiteral(".b.mp4.tmp")), "half");
    ASSERT_TRUE(QDir().mkpath(m_home.path(QStringLiteral("folder.tmp"))));
    PendingFile living(m_home.path(QStringLiteral("living")));
    EXPECT_TRUE(living.append("content", 7).isOk());

    DurableFile::removeAbandoned(m_home.path());
    EXPECT_EQ(names(), (QStringList{QStringLiteral("file"), QStringLiteral("living.tmp")}));
    EXPECT_TRUE(QFileInfo::exists(m_home.path(QStringLiteral("folder.tmp"))));
    EXPECT_TRUE(living.commit().isOk());
    EXPECT_EQ(m_home.read(m_home.path(QStringLiteral("living"))), QByteArray("content"));
}

TEST_F(DurableFileTest, RemovesWhatWasToReplaceAReadOnlyFile)
{
    const test::OrdinaryUser user(m_home.path());
    const QString left = m_home.path(QStringLiteral("a.tmp"));
    m_home.write(left, "half");
    ASSERT_TRUE(QFile::setPermissions(left, QFile::ReadOwner));
    DurableFile::removeAbandoned(m_home.path());
    EXPECT_TRUE(names().isEmpty());
}

TEST_F(DurableFileTest, RemovesLinksAndPipesThatStandInTheWay)
{
    const QString real = m_home.path(QStringLiteral("real"));
    m_home.write(real, "content");
    ASSERT_TRUE(QFile::link(real, m_home.path(QStringLiteral("a.tmp"))));
    ASSERT_TRUE(
        QFile::link(m_home.path(QStringLiteral("absent")), m_home.path(QStringLiteral("b.tmp"))));
    ASSERT_EQ(::mkfifo(QFile::encodeName(m_home.path(QStringLiteral("c.tmp"))).constData(), 0600),
              0);
    DurableFile::removeAbandoned(m_home.path());
    EXPECT_EQ(QDir(m_home.path()).entryList(QDir::Files | QDir::Hidden | QDir::System),
              QStringList{QStringLiteral("real")});
    EXPECT_EQ(m_home.read(real), QByteArray("content"));
}

TEST(FileResultTest, CallsEveryWayToRunOutOfRoomNoSpace)
{
    EXPECT_EQ(FileResult::fromErrno(ENOSPC).status, FileStatus::noSpace);
    EXPECT_EQ(FileResult::fromErrno(EDQUOT).status, FileStatus::noSpace);
    EXPECT_EQ(FileResult::fromErrno(EFBIG).status, FileStatus::noSpace);
    EXPECT_EQ(FileResult::fromErrno(EROFS).status, FileStatus::failed);
    EXPECT_EQ(FileResult::fromErrno(EACCES).reason, QStringLiteral("Permission denied"));
    EXPECT_TRUE(FileResult::fromErrno(0).isOk());
}

} // namespace
} // namespace corvella
