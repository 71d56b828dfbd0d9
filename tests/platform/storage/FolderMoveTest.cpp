#include "platform/storage/FolderMove.h"
#include "platform/storage/FailingDisk.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace corvella {
namespace {

class FolderMoveTest : public testing::Test
{
protected:
    FolderMoveTest()
    {
        m_home.write(m_from + QStringLiteral("/manifest.json"), "[]");
        m_home.write(m_from + QStringLiteral("/171.mp4"), "clip");
    }

    static void expectMoved(const QString &from, const QString &to)
    {
        EXPECT_FALSE(QFileInfo::exists(from));
        EXPECT_EQ(test::TemporaryHome::read(to + QStringLiteral("/manifest.json")),
                  QByteArray("[]"));
        EXPECT_EQ(test::TemporaryHome::read(to + QStringLiteral("/171.mp4")), QByteArray("clip"));
    }

    test::TemporaryHome m_home;
    QString m_from = m_home.path(QStringLiteral("from"));
};

TEST_F(FolderMoveTest, MovesWithinAFileSystem)
{
    const QString to = m_home.path(QStringLiteral("to"));
    EXPECT_TRUE(moveFolder(m_from, to).isOk());
    expectMoved(m_from, to);
}

TEST_F(FolderMoveTest, MovesToAnotherFileSystem)
{
    const QTemporaryDir elsewhere(QStringLiteral("/dev/shm/folder-move-XXXXXX"));
    ASSERT_TRUE(elsewhere.isValid());
    const QString to = elsewhere.filePath(QStringLiteral("to"));
    EXPECT_TRUE(moveFolder(m_from, to).isOk());
    expectMoved(m_from, to);
    EXPECT_EQ(QDir(elsewhere.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("to")});
}

TEST_F(FolderMoveTest, KeepsTheOldFolderWhenTheOtherFileSystemWillNotTakeIt)
{
    const QTemporaryDir elsewhere(QStringLiteral("/dev/shm/folder-move-XXXXXX"));
    const QString to = elsewhere.filePath(QStringLiteral("to"));
    m_home.write(to + QStringLiteral("/occupied"), "");
    EXPECT_FALSE(moveFolder(m_from, to).isOk());
    EXPECT_EQ(m_home.read(m_from + QStringLiteral("/171.mp4")), QByteArray("clip"));
    EXPECT_EQ(QDir(elsewhere.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("to")});
}

TEST_F(FolderMoveTest, KeepsTheOldFolderUntilTheOtherFileSystemHasTheNewName)
{
    const QTemporaryDir elsewhere(QStringLiteral("/dev/shm/folder-move-XXXXXX"));
    test::failingFlush = QFile::encodeName(elsewhere.path());
    const FileResult result = moveFolder(m_from, elsewhere.filePath(QStringLiteral("to")));
    test::failingFlush.clear();
    EXPECT_EQ(result.reason, QStringLiteral("Input/output error"));
    EXPECT_EQ(m_home.read(m_from + QStringLiteral("/171.mp4")), QByteArray("clip"));
}

TEST_F(FolderMoveTest, SaysWhyItCannotMove)
{
    m_home.write(m_home.path(QStringLiteral("file")), "");
    const FileResult result = moveFolder(m_from, m_home.path(QStringLiteral("file/to")));
    EXPECT_EQ(result.reason, QStringLiteral("Not a directory"));
    EXPECT_EQ(m_home.read(m_from + QStringLiteral("/171.mp4")), QByteArray("clip"));
}

} // namespace
} // namespace corvella
