#include "platform/update/Bundle.h"
#include "support/ChildProcess.h"
#include "support/QtPrinting.h"
#include "support/TemporaryHome.h"
#include "support/TestBundle.h"

#include <QDir>
#include <QDirIterator>

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>

namespace corvella {
namespace {

using test::ArchiveEntry;
using EntryKind = ArchiveEntry::Kind;
using Status = Unpacking::Status;

class BundleTest : public testing::Test
{
protected:
    BundleTest() { EXPECT_TRUE(QDir().mkpath(m_folder)); }

    Unpacking unpack(const QByteArray &bytes)
    {
        const QString path = m_home.path(QStringLiteral("bundle"));
        m_home.write(path, bytes);
        return unpackFile(path);
    }
    Unpacking unpackFile(const QString &path)
    {
        const FileDescriptor file(
            ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
        return unpackBundle(file, m_folder, m_cancelled);
    }
    // Whether a bundle with this entry between honest ones is refused, and nothing of it, nor any
    // change, is to be found outside of the folder.
    bool isRefused(const ArchiveEntry &entry)
    {
        QDir(m_folder).removeRecursively();
        EXPECT_TRUE(QDir().mkpath(m_folder));
        const QStringList before = outside();
        const Unpacking result = unpack(test::makeArchive(
            {{.name = "bin/corvella", .content = "x"}, entry, {.name = "last", .content = "x"}}));
        EXPECT_EQ(outside(), before);
        return result.status == Status::refused && !result.reason.isEmpty();
    }
    [[nodiscard]] QStringList outside() const
    {
        QStringList names;
        for (const QString &name :
             QDir(m_home.path())
                 .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System))
            if (name != u"bundle")
                names << name;
        return names;
    }
    [[nodiscard]] mode_t modeOf(const QString &name) const
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(QFile::encodeName(m_folder + u'/' + name).constData(), &status), 0);
        return status.st_mode;
    }

    test::TemporaryHome m_home;
    QString m_folder = m_home.path(QStringLiteral("folder/inner"));
    std::atomic_bool m_cancelled = false;
};

TEST_F(BundleTest, UnpacksFilesAndFolders)
{
    const QByteArray large(3'000'000, 'l');
    const Unpacking result = unpack(test::makeArchive({
        {.name = "./", .mode = 0755, .kind = EntryKind::folder},
        {.name = "bin/", .mode = 0700, .kind = EntryKind::folder},
        {.name = "./bin/corvella", .content = "program", .mode = 0777},
        {.name = "share/corvella/deeper/seed.mp4", .content = large, .mode = 0600},
        {.name = "empty", .mode = 0},
    }));
    EXPECT_EQ(result.status, Status::ok) << qPrintable(result.reason);
    EXPECT_EQ(test::TemporaryHome::read(m_folder + QStringLiteral("/bin/corvella")),
              QByteArray("program"));
    EXPECT_EQ(
        test::TemporaryHome::read(m_folder + QStringLiteral("/share/corvella/deeper/seed.mp4")),
        large);
    EXPECT_EQ(modeOf(QStringLiteral("bin/corvella")), S_IFREG | 0755);
    EXPECT_EQ(modeOf(QStringLiteral("share/corvella/deeper/seed.mp4")), S_IFREG | 0644);
    EXPECT_EQ(modeOf(QStringLiteral("empty")), S_IFREG | 0644);
    EXPECT_EQ(modeOf(QStringLiteral("bin")), S_IFDIR | 0755);
}

TEST_F(BundleTest, RefusesNamesThatLeadElsewhere)
{
    for (const char *name : {"../outside", "bin/../../outside", "..", "bin/..", "/tmp/outside",
                             "//tmp/outside", "bin//corvella", "bin/./corvella", "./../outside",
                             "a\\b", "a b", "a\nb", "\xc3\xa4", "a/b/c/d/e/f/g/h/i"})
        EXPECT_TRUE(isRefused({.name = name, .content = "x"})) << name;
    EXPECT_TRUE(isRefused({.name = QByteArray(201, 'n'), .content = "x"}));
    EXPECT_FALSE(isRefused({.name = QByteArray(200, 'n'), .content = "x"}));
}

TEST_F(BundleTest, RefusesLinksAndWhatIsNoFile)
{
    for (const char *target : {"../../outside", "/etc/passwd", "bin/corvella"}) {
        EXPECT_TRUE(
            isRefused({.name = "link", .content = target, .kind = EntryKind::symbolicLink}));
        EXPECT_TRUE(isRefused({.name = "link", .content = target, .kind = EntryKind::hardLink}));
    }
    EXPECT_TRUE(isRefused({.name = "pipe", .kind = EntryKind::pipe}));
}

TEST_F(BundleTest, RefusesRightsOfOthers)
{
    for (const int mode : {04755, 02755, 01755, 06755})
        EXPECT_TRUE(isRefused({.name = "tool", .content = "x", .mode = mode})) << mode;
    EXPECT_TRUE(isRefused({.name = "folder/", .mode = 02755, .kind = EntryKind::folder}));
}

TEST_F(BundleTest, RefusesOneNameTwice)
{
    EXPECT_TRUE(isRefused({.name = "bin/corvella", .content = "other"}));
    EXPECT_TRUE(isRefused({.name = "bin/corvella/inner", .content = "x"}));
    EXPECT_TRUE(isRefused({.name = "bin", .content = "x"}));
    EXPECT_FALSE(isRefused({.name = "bin/", .mode = 0755, .kind = EntryKind::folder}));
}

TEST_F(BundleTest, RefusesASparseFileOfAHundredGigabytes)
{
    const QString script = QStringLiteral("mkdir bin && truncate -s 100G bin/corvella && tar "
                                          "--sparse -czf bundle.tar.gz bin && rm -r bin");
    test::run({QStringLiteral("sh"),
               {QStringLiteral("-c"), script},
               test::bareEnvironment(),
               m_home.path()});
    const Unpacking result = unpackFile(m_home.path(QStringLiteral("bundle.tar.gz")));
    EXPECT_EQ(result.status, Status::refused);
    EXPECT_FALSE(QFile::exists(m_folder + QStringLiteral("/bin/corvella")));
}

TEST_F(BundleTest, RefusesMoreFilesThanABuildHas)
{
    QList<ArchiveEntry> entries;
    for (int i = 0; i < 2'001; ++i)
        entries << ArchiveEntry{.name = "empty/" + QByteArray::number(i),
                                .kind = EntryKind::folder};
    EXPECT_EQ(unpack(test::makeArchive(entries)).status, Status::refused);
}

TEST_F(BundleTest, RefusesWhatIsDamagedOrNoArchive)
{
    QByteArray noise(100'000, '\0');
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    const QByteArray whole = test::makeArchive({{.name = "bin/corvella", .content = noise}});
    EXPECT_EQ(unpack({}).status, Status::refused);
    EXPECT_EQ(unpack("no archive at all").status, Status::refused);
    EXPECT_EQ(unpack(test::makeArchive({})).status, Status::refused);
    EXPECT_EQ(unpack(whole.left(whole.size() / 2)).status, Status::refused);
}

TEST_F(BundleTest, SaysThatTheDiskIsFull)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const QByteArray bytes =
        test::makeArchive({{.name = "seed.mp4", .content = QByteArray(1'000'000, 'x')}});
    m_home.write(m_home.path(QStringLiteral("bundle")), bytes);
    const rlimit limit{.rlim_cur = 500'000, .rlim_max = RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_EQ(unpackFile(m_home.path(QStringLiteral("bundle"))).status, Status::noSpace);
}

TEST_F(BundleTest, StopsWhenItIsToldTo)
{
    m_cancelled = true;
    EXPECT_EQ(unpack(test::makeArchive({{.name = "x", .content = "x"}})).status, Status::cancelled);
    EXPECT_TRUE(QDir(m_folder).isEmpty());
}

} // namespace
} // namespace corvella
