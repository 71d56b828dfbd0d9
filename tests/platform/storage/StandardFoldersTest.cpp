#include "platform/storage/StandardFolders.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvella {
namespace {

class StandardFoldersTest : public testing::Test
{
protected:
    test::TemporaryHome m_home;
};

TEST_F(StandardFoldersTest, AreTheXdgFoldersOfTheEnvironment)
{
    qputenv("XDG_CONFIG_HOME", "/x/config");
    qputenv("XDG_CACHE_HOME", "/x/cache/");
    qputenv("XDG_DATA_HOME", "/x/data");
    EXPECT_EQ(StandardFolders::config(), QStringLiteral("/x/config"));
    EXPECT_EQ(StandardFolders::caches(), QStringLiteral("/x/cache"));
    EXPECT_EQ(StandardFolders::applicationSupport(), QStringLiteral("/x/data"));
}

TEST_F(StandardFoldersTest, LieInTheHomeFolderWhereTheEnvironmentSaysNothing)
{
    qputenv("HOME", "/people/ann");
    for (const char *variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        qunsetenv(variable);
    EXPECT_EQ(StandardFolders::config(), QStringLiteral("/people/ann/.config"));
    EXPECT_EQ(StandardFolders::caches(), QStringLiteral("/people/ann/.cache"));
    EXPECT_EQ(StandardFolders::applicationSupport(), QStringLiteral("/people/ann/.local/share"));
}

TEST_F(StandardFoldersTest, IgnoreEmptyAndRelativeValues)
{
    qputenv("HOME", "/people/ann");
    for (const char *value : {"", "config", "./config", "~/config"}) {
        qputenv("XDG_CONFIG_HOME", value);
        EXPECT_EQ(StandardFolders::config(), QStringLiteral("/people/ann/.config")) << value;
    }
}

TEST_F(StandardFoldersTest, LieInTheAccountsHomeWhereTheEnvironmentNamesNone)
{
    const QString home = QFile::decodeName(::getpwuid(::getuid())->pw_dir);
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME"})
        qunsetenv(variable);
    EXPECT_EQ(StandardFolders::config(), home + QStringLiteral("/.config"));
    qputenv("HOME", "relative");
    EXPECT_EQ(StandardFolders::config(), home + QStringLiteral("/.config"));
}

TEST_F(StandardFoldersTest, ListTheMachinesFoldersTheMostImportantFirst)
{
    const QStringList etc{QStringLiteral("/etc/xdg")};
    const struct
    {
        const char *variable;
        QStringList folders;
    } rows[] = {
        {"/a:/b/", {QStringLiteral("/a"), QStringLiteral("/b")}},
        {"relative:/b", {QStringLiteral("/b")}},
        {"", etc},
        {"relative", etc},
        {"::", etc},
    };
    for (const auto &row : rows) {
        qputenv("XDG_CONFIG_DIRS", row.variable);
        EXPECT_EQ(StandardFolders::machineConfig(), row.folders) << row.variable;
    }
    qunsetenv("XDG_CONFIG_DIRS");
    EXPECT_EQ(StandardFolders::machineConfig(), etc);
}

TEST_F(StandardFoldersTest, AreMadeForTheUserAloneWhateverTheUmask)
{
    const QString folder = m_home.path(QStringLiteral("one/two"));
    const mode_t before = ::umask(0);
    EXPECT_TRUE(StandardFolders::make(folder).isOk());
    ::umask(before);
    for (const QString &made : {folder, m_home.path(QStringLiteral("one"))}) {
        struct stat status = {};
        ASSERT_EQ(::stat(QFile::encodeName(made).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700U);
    }
}

TEST_F(StandardFoldersTest, MayBeThereAlready)
{
    EXPECT_TRUE(StandardFolders::make(m_home.path()).isOk());
    EXPECT_TRUE(StandardFolders::make(QStringLiteral("/")).isOk());
}

TEST_F(StandardFoldersTest, KeepTheModeThatTheirOwnerGaveThem)
{
    const QString folder = m_home.path(QStringLiteral("shared"));
    const QByteArray name = QFile::encodeName(folder);
    ASSERT_EQ(::mkdir(name.constData(), 0700), 0);
    ASSERT_EQ(::chmod(name.constData(), 0755), 0);
    EXPECT_TRUE(StandardFolders::make(folder).isOk());
    struct stat status = {};
    ASSERT_EQ(::stat(name.constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755U);
}

TEST_F(StandardFoldersTest, CannotBeMadeWhereAFileIs)
{
    const QString file = m_home.path(QStringLiteral("file"));
    m_home.write(file, "");
    EXPECT_EQ(StandardFolders::make(file).reason, QStringLiteral("Not a directory"));
    EXPECT_EQ(StandardFolders::make(file + QStringLiteral("/below")).reason,
              QStringLiteral("Not a directory"));
}

} // namespace
} // namespace corvella
