#include "cache/CacheLocation.h"
#include "support/CapturedLog.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFileInfo>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using testing::ElementsAre;

class CacheLocationTest : public testing::Test
{
protected:
    // A cache at an old place, told from others by its clip's content.
    void storeOld(int index, const QByteArray &content) const
    {
        m_home.write(old(index) + QStringLiteral("/manifest.json"), "[]");
        m_home.write(old(index) + QStringLiteral("/171.mp4"), content);
    }
    QString old(int index) const { return m_location.oldFolders.at(index); }
    QByteArray clip() const { return m_home.read(m_location.folder + QStringLiteral("/171.mp4")); }

    test::TemporaryHome m_home;
    CacheLocation m_location = cacheLocation(std::nullopt);
    test::CapturedLog m_log;
};

TEST_F(CacheLocationTest, IsInTheUsersCachesFolder)
{
    const CacheLocation expected{
        .base = m_home.path(QStringLiteral(".cache")),
        .folder = m_home.path(QStringLiteral(".cache/Corvella")),
        .oldFolders = {m_home.path(QStringLiteral(".local/share/Corvella")),
                       m_home.path(QStringLiteral(".local/share/Corvella Wall"))}};
    EXPECT_EQ(cacheLocation(std::nullopt), expected);
    EXPECT_EQ(cacheLocation(QString()), expected) << "an empty path is none";
}

TEST_F(CacheLocationTest, IsUnderTheCacheHomeWhereThatIsSet)
{
    const CacheLocation expected{
        .base = QStringLiteral("/srv/sun/Library/Caches"),
        .folder = QStringLiteral("/srv/sun/Library/Caches/Corvella"),
        .oldFolders = {QStringLiteral("/srv/sun/Library/Application Support/Corvella"),
                       QStringLiteral("/srv/sun/Library/Application Support/Corvella Wall")}};
    EXPECT_EQ(cacheLocation(QStringLiteral("/srv/sun")), expected);
    EXPECT_EQ(cacheLocation(QStringLiteral("/srv/sun/")), expected);
}

TEST_F(CacheLocationTest, IsAbsoluteEvenForARelativeCacheHome)
{
    EXPECT_EQ(cacheLocation(QStringLiteral("sun")).folder,
              QDir::currentPath() + QStringLiteral("/sun/Library/Caches/Corvella"));
}

TEST_F(CacheLocationTest, IsMadeWhenThereIsNothing)
{
    settleCache(m_location);
    EXPECT_TRUE(QFileInfo(m_location.folder).isDir());
    EXPECT_TRUE(m_log.messages().isEmpty());
    settleCache(m_location);
    EXPECT_TRUE(m_log.messages().isEmpty()) << "again";
}

TEST_F(CacheLocationTest, TakesAnOldCacheWithIt)
{
    for (const int index : {0, 1}) {
        QDir(m_location.folder).removeRecursively();
        storeOld(index, "old");
        settleCache(m_location);
        EXPECT_EQ(clip(), QByteArray("old"));
        EXPECT_FALSE(QFileInfo::exists(old(index)));
    }
    const QString moved = QStringLiteral("cache moved to ") + m_location.folder;
    EXPECT_THAT(m_log.messages(), ElementsAre(moved, moved));
}

TEST_F(CacheLocationTest, TakesOnlyTheFirstOfTwo)
{
    storeOld(0, "first");
    storeOld(1, "second");
    settleCache(m_location);
    EXPECT_EQ(clip(), QByteArray("first"));
    EXPECT_FALSE(QFileInfo::exists(old(0)));
    EXPECT_EQ(m_home.read(old(1) + QStringLiteral("/171.mp4")), QByteArray("second"));
    EXPECT_THAT(m_log.messages(),
                ElementsAre(QStringLiteral("cache moved to ") + m_location.folder));
}

TEST_F(CacheLocationTest, LeavesAnOldFolderWithoutAManifest)
{
    m_home.write(old(0) + QStringLiteral("/171.mp4"), "no cache");
    storeOld(1, "second");
    settleCache(m_location);
    EXPECT_EQ(clip(), QByteArray("second"));
    EXPECT_TRUE(QFileInfo::exists(old(0)));
}

TEST_F(CacheLocationTest, LeavesOldCachesWhereThereIsANewOneEvenIfEmpty)
{
    ASSERT_TRUE(QDir().mkpath(m_location.folder));
    storeOld(0, "old");
    settleCache(m_location);
    EXPECT_TRUE(QFileInfo::exists(old(0)));
    EXPECT_EQ(clip(), QByteArray());
    EXPECT_TRUE(m_log.messages().isEmpty());
}

TEST_F(CacheLocationTest, LooksForOldCachesUnderTheCacheHome)
{
    m_location = cacheLocation(m_home.path(QStringLiteral("H")));
    m_home.write(
        m_home.path(QStringLiteral("H/Library/Application Support/Corvella Wall/manifest.json")),
        "[]");
    settleCache(m_location);
    EXPECT_TRUE(
        QFileInfo::exists(m_home.path(QStringLiteral("H/Library/Caches/Corvella/manifest.json"))));
}

TEST_F(CacheLocationTest, SaysWhyAnOldCacheCannotBeMovedAndTriesTheNext)
{
    m_home.write(m_location.base, "a file in the place of the caches folder");
    storeOld(0, "first");
    storeOld(1, "second");
    settleCache(m_location);
    const QString failed =
        QStringLiteral("could not move the old cache (Not a directory); starting fresh");
    EXPECT_THAT(m_log.messages(), ElementsAre(failed, failed));
    EXPECT_EQ(m_home.read(old(0) + QStringLiteral("/171.mp4")), QByteArray("first"));
}

} // namespace
} // namespace corvella
