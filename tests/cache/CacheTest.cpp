#include "cache/Cache.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/NginxServer.h"
#include "support/QtPrinting.h"
#include "support/TemporaryHome.h"
#include "support/TestImageryHost.h"

#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using testing::ElementsAre;

// The folder is fixed for the life of a process, so that one test goes through all that needs it.
TEST(CacheTest, IsTheFolderUnderTheCacheHomeForTheLifeOfTheProcess)
{
    const test::TemporaryHome home;
    const QString folder = home.path(QStringLiteral("H/Library/Caches/Corvella"));
    Settings::d().setString(QStringLiteral("cacheHome"), home.path(QStringLiteral("H")));

    EXPECT_EQ(Cache::dir(), folder);
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_EQ(Cache::manifestFile(), folder + QStringLiteral("/manifest.json"));
    EXPECT_FALSE(Cache::isPrimed());
    EXPECT_EQ(Cache::count(), 0);

    home.write(folder + QStringLiteral("/171.mp4"), "clip");
    const QJsonObject entry{{QStringLiteral("video"), QStringLiteral("171.mp4")}};
    Cache::write({entry, {}});
    EXPECT_TRUE(Cache::isPrimed());
    EXPECT_EQ(Cache::entries(), QList<QJsonObject>{entry});
    EXPECT_EQ(Cache::count(), 1);
    ASSERT_TRUE(QFile::remove(folder + QStringLiteral("/171.mp4")));
    EXPECT_EQ(Cache::count(), 0);

    test::CapturedLog log;
    Cache::seedIfEmpty();
    EXPECT_TRUE(log.messages().isEmpty()) << "nothing to seed in a cache with a manifest";

    Settings::d().remove(QStringLiteral("cacheHome"));
    EXPECT_EQ(Cache::dir(), folder) << "moved only by a restart";
}

TEST(CacheTest, IsNotRefreshedOfflineOrReadOnly)
{
    const test::TemporaryHome home;
    EXPECT_FALSE(Cache::readOnly());
    test::CapturedLog log;
    Settings::setOffline(true);
    Cache::refresh();
    Settings::setOffline(false);
    Cache::setReadOnly(true);
    EXPECT_TRUE(Cache::readOnly());
    Cache::refresh();
    Cache::setReadOnly(false);

    const QString refused = QStringLiteral("offline or read-only, not refreshing the cache");
    EXPECT_THAT(log.messages(), ElementsAre(refused, refused));
}

TEST(CacheTest, RefreshesItsOwnFolderFromTheHostsThatAreSet)
{
    const test::TemporaryHome home;
    const test::TestAuthority authority;
    authority.trust();
    const test::TestImageryHost host({QStringLiteral("171")});
    test::NginxServer server(authority.issue({QStringLiteral("localhost")}), host.folder());
    Settings::setImageryHost(server.host());
    Settings::setProducts({QStringLiteral("171")});

    Cache::refresh();
    EXPECT_EQ(home.read(home.cache(QStringLiteral("Corvella/171.mp4"))),
              test::TestImageryHost::clip(QStringLiteral("171")));
    EXPECT_LT(Settings::lastCheck().secsTo(QDateTime::currentDateTimeUtc()), 60);
    server.takeRequests();
    EXPECT_FALSE(Cache::refreshNow(false));
    EXPECT_EQ(server.takeRequests().size(), 1);
    EXPECT_TRUE(Cache::refreshNow(false)) << "twice within the hour";
    Cache::pass(true, true, true);
    EXPECT_EQ(server.takeRequests().size(), 1);
    Cache::cancelRefreshing();
    Cache::pass(true, true, true);
    EXPECT_TRUE(server.takeRequests().isEmpty());
}

} // namespace
} // namespace corvella
