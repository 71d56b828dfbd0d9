#include "platform/storage/FolderCopy.h"
#include "platform/storage/FailingDisk.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace corvella {
namespace {

class FolderCopyTest : public testing::Test
{
protected:
    FolderCopyTest()
    {
        m_home.write(m_from + QStringLiteral("/plain"), "new");
        m_home.write(m_from + QStringLiteral("/deep/.program"), "new");
        m_home.write(m_to + QStringLiteral("/old"), "old");
    }

    test::TemporaryHome m_home;
    const QString m_from = m_home.path(QStringLiteral("from"));
    const QString m_to = m_home.path(QStringLiteral("there/to"));
};

TEST_F(FolderCopyTest, TakesThePlaceOfWhatIsThere)
{
    const auto readAndRun = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    ASSERT_TRUE(QFile::setPermissions(m_from + QStringLiteral("/deep/.program"), readAndRun));
    EXPECT_TRUE(copyFolder(m_from, m_to).isOk());
    EXPECT_EQ(m_home.read(m_to + QStringLiteral("/plain")), "new");
    EXPECT_EQ(m_home.read(m_to + QStringLiteral("/deep/.program")), "new");
    EXPECT_TRUE(QFileInfo(m_to + QStringLiteral("/deep/.program")).isExecutable());
    EXPECT_FALSE(QFileInfo(m_to + QStringLiteral("/plain")).isExecutable());
    EXPECT_FALSE(QFile::exists(m_to + QStringLiteral("/old")));
    EXPECT_EQ(QDir(QFileInfo(m_to).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("to")});
}

// Else a power cut could leave it empty in the other's place.
TEST_F(FolderCopyTest, TakesNoPlaceBeforeAllOfItIsOnTheDisk)
{
    for (const char *part : {"/deep/.program.tmp", "/plain.tmp", "/deep", ""}) {
        test::failingFlush = QFile::encodeName(QFileInfo(m_home.path()).canonicalFilePath())
            + "/there/to.arriving" + part;
        const FileResult result = copyFolder(m_from, m_to);
        test::failingFlush.clear();
        EXPECT_TRUE(result.reason.endsWith(QStringLiteral("Input/output error"))) << part;
        EXPECT_EQ(m_home.read(m_to + QStringLiteral("/old")), "old") << part;
        EXPECT_EQ(QDir(QFileInfo(m_to).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                  QStringList{QStringLiteral("to")})
            << part;
    }
}

TEST_F(FolderCopyTest, TakesThePlaceAlsoOnANetworkFileSystem)
{
    test::canExchange = false;
    EXPECT_TRUE(copyFolder(m_from, m_to).isOk());
    test::canExchange = true;
    EXPECT_EQ(m_home.read(m_to + QStringLiteral("/plain")), "new");
    EXPECT_EQ(QDir(QFileInfo(m_to).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("to")});
}

TEST_F(FolderCopyTest, LeavesTheOldOneWhereItCannotTakeItsPlace)
{
    test::failingRename = QFile::encodeName(m_to + QStringLiteral(".arriving"));
    const FileResult result = copyFolder(m_from, m_to);
    test::failingRename.clear();
    EXPECT_EQ(result.reason, QStringLiteral("Input/output error"));
    EXPECT_EQ(m_home.read(m_to + QStringLiteral("/old")), "old");
    EXPECT_EQ(QDir(QFileInfo(m_to).path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("to")});
}

TEST_F(FolderCopyTest, MakesOneWhereNoneIs)
{
    const QString elsewhere = m_home.path(QStringLiteral("there/other"));
    EXPECT_TRUE(copyFolder(m_from, elsewhere).isOk());
    EXPECT_EQ(m_home.read(elsewhere + QStringLiteral("/plain")), "new");
}

TEST_F(FolderCopyTest, SaysThatItsNameIsNotOnTheDisk)
{
    test::failingFlush = QFile::encodeName(QFileInfo(m_home.path()).canonicalFilePath()) + "/there";
    EXPECT_FALSE(copyFolder(m_from, m_to).isOk());
    test::failingFlush.clear();
}

} // namespace
} // namespace corvella
