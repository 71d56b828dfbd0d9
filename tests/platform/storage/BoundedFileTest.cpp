#include "platform/storage/BoundedFile.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace corvella {
namespace {

class BoundedFileTest : public testing::Test
{
protected:
    test::TemporaryHome m_home;
    QString m_path = m_home.path(QStringLiteral("file"));
};

TEST_F(BoundedFileTest, ReadsAFileThatJustFits)
{
    m_home.write(m_path, "12345");
    const BoundedRead read = readBounded(m_path, 5);
    EXPECT_EQ(read.status, ReadStatus::ok);
    EXPECT_EQ(read.bytes, QByteArray("12345"));
    EXPECT_EQ(read.stamp.sizeBytes, 5);
    EXPECT_EQ(read.stamp, stampOf(m_path));
}

TEST_F(BoundedFileTest, ReadsNothingOfAFileThatIsOneByteTooLong)
{
    m_home.write(m_path, "123456");
    const BoundedRead read = readBounded(m_path, 5);
    EXPECT_EQ(read.status, ReadStatus::tooLarge);
    EXPECT_TRUE(read.bytes.isEmpty());
    EXPECT_FALSE(read.reason.isEmpty());
}

TEST_F(BoundedFileTest, ReadsAnEmptyFile)
{
    m_home.write(m_path, "");
    EXPECT_EQ(readBounded(m_path, 5).status, ReadStatus::ok);
}

TEST_F(BoundedFileTest, ReadsAFileOfManyChunks)
{
    const QByteArray bytes(100'000, 'x');
    m_home.write(m_path, bytes);
    EXPECT_EQ(readBounded(m_path, 100'000).bytes, bytes);
}

TEST_F(BoundedFileTest, CallsAFileMissingThatHasNoFolder)
{
    EXPECT_EQ(readBounded(m_path, 5).status, ReadStatus::missing);
    EXPECT_EQ(readBounded(m_path + QStringLiteral("/below"), 5).status, ReadStatus::missing);
    m_home.write(m_path, "a file, not a folder");
    EXPECT_EQ(readBounded(m_path + QStringLiteral("/below"), 5).status, ReadStatus::missing);
    EXPECT_EQ(stampOf(m_path + QStringLiteral("/below")), FileStamp());
}

TEST_F(BoundedFileTest, CallsMissingOnlyWhatIsKnownToBeGone)
{
    EXPECT_TRUE(isMissing(m_path));
    m_home.write(m_path, "a file");
    EXPECT_FALSE(isMissing(m_path));
    EXPECT_TRUE(isMissing(m_path + QStringLiteral("/below")));
    const QString circle = m_home.path(QStringLiteral("circle"));
    ASSERT_TRUE(QFile::link(circle, circle));
    EXPECT_FALSE(isMissing(circle)) << "what is there cannot be looked at";
}

TEST_F(BoundedFileTest, CallsADirectoryUnreadable)
{
    ASSERT_TRUE(QDir().mkpath(m_path));
    const BoundedRead read = readBounded(m_path, 5);
    EXPECT_EQ(read.status, ReadStatus::failed);
    EXPECT_EQ(read.reason, QStringLiteral("Is a directory"));
}

TEST_F(BoundedFileTest, DoesNotWaitOnAPipeInThePlaceOfAFile)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    EXPECT_EQ(readBounded(m_path, 5).status, ReadStatus::failed);
}

TEST_F(BoundedFileTest, DoesNotReadADevice)
{
    EXPECT_EQ(readBounded(QStringLiteral("/dev/zero"), 5).status, ReadStatus::failed);
}

TEST(FileStampTest, IsSettledOnceTheLastChangeIsOlderThanAnyFileSystemsClock)
{
    constexpr qint64 second = 1'000'000'000;
    const FileStamp modifiedLast{.modifiedNs = 100 * second, .changedNs = 50 * second};
    const FileStamp changedLast{.modifiedNs = 50 * second, .changedNs = 100 * second};
    for (const FileStamp &stamp : {modifiedLast, changedLast}) {
        EXPECT_FALSE(stamp.wasSettledAt(99 * second)) << "a file from the future";
        EXPECT_FALSE(stamp.wasSettledAt(100 * second));
        EXPECT_FALSE(stamp.wasSettledAt(102 * second));
        EXPECT_TRUE(stamp.wasSettledAt(102 * second + 1));
    }
}

} // namespace
} // namespace corvella
