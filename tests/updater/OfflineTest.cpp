// The menu's check, from the click to the words in the window; and that nothing leaves the machine
// while the program is set offline. This file stands before the C library's socket().
#include "settings/Settings.h"
#include "support/NginxServer.h"
#include "support/QtPrinting.h"
#include "support/TemporaryHome.h"
#include "support/TestBundle.h"
#include "updater/UpdateWindow.h"
#include "updater/Updater.h"

#include <QDir>
#include <QFile>
#include <QPushButton>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/socket.h>

namespace {
std::atomic_int socketsMade = 0; // that could carry a packet to somewhere
} // namespace

extern "C" int socket(int domain, int type, int protocol) noexcept
{
    static const auto next = reinterpret_cast<int (*)(int, int, int)>(dlsym(RTLD_NEXT, "socket"));
    if (domain != AF_UNIX)
        ++socketsMade;
    return next(domain, type, protocol);
}

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using testing::IsEmpty;

class MenuCheck : public testing::Test
{
protected:
    MenuCheck()
    {
        m_authority.trust();
        const QString build = m_home.path(u"opt/1"_s);
        for (const test::ArchiveEntry &entry : test::buildEntries(u"1.0"_s, 1)) {
            if (entry.kind == test::ArchiveEntry::Kind::file)
                m_home.write(build + u'/' + QString::fromUtf8(entry.name), entry.content);
        }
        EXPECT_TRUE(QFile::link(u"1"_s, m_home.path(u"opt/current"_s)));
        const QByteArray bundle = test::makeArchive(test::buildEntries(u"1.1"_s, 2));
        m_home.write(m_home.path(u"www/bundle"_s), bundle);
        const QDateTime now = QDateTime::currentDateTimeUtc();
        m_home.write(
            m_home.path(u"www/appcast.xml"_s),
            test::signedFeed(test::makeFeed({{.url = u"https://%1/bundle"_s.arg(m_server.host()),
                                              .length = bundle.size(),
                                              .signature = m_signer.sign(bundle),
                                              .more = "<description>Sharper loops</description>"}},
                                            now, now.addDays(1)),
                             m_signer));
        m_updater.start();
        m_server.takeRequests();
        socketsMade = 0;
    }
    ~MenuCheck() override { m_updater.applicationWillTerminate(); }

    [[nodiscard]] QString feed() const { return u"https://%1/appcast.xml"_s.arg(m_server.host()); }
    bool titleBecomes(const QString &title)
    {
        return becomes([&] { return m_updater.window() && m_updater.window()->title() == title; });
    }

    test::TemporaryHome m_home;
    test::TestAuthority m_authority;
    test::TestSigner m_signer;
    test::NginxServer m_server{m_authority.issue({u"localhost"_s}), m_home.path(u"www"_s)};
    int m_quits = 0;
    Updater m_updater{{.executable = m_home.path(u"opt/1/bin/corvella"_s),
                       .key = m_signer.publicKey(),
                       .feed = feed(),
                       .quit = [this] { ++m_quits; }}};
};

TEST_F(MenuCheck, SaysThatItIsOfflineAndSendsNothing)
{
    Settings::setOffline(true);
    m_updater.checkNow();
    ASSERT_TRUE(m_updater.window());
    EXPECT_TRUE(m_updater.window()->isVisible());
    EXPECT_EQ(m_updater.window()->text(),
              u"Offline is on in Corvella's Settings, so it is not checking for updates."_s);
    EXPECT_EQ(socketsMade, 0);
    EXPECT_THAT(m_server.takeRequests(), IsEmpty());
    // The same click goes out when it is not: the count above counts.
    Settings::setOffline(false);
    m_updater.checkNow();
    EXPECT_TRUE(titleBecomes(u"Corvella 1.1 is available"_s));
    EXPECT_GT(socketsMade, 0);
}

TEST_F(MenuCheck, SendsNothingWhereItWentOfflineBeforeTheDownload)
{
    m_updater.checkNow();
    ASSERT_TRUE(titleBecomes(u"Corvella 1.1 is available"_s));
    m_server.takeRequests();
    Settings::setOffline(true);
    m_updater.window()->actionButton()->click();
    EXPECT_EQ(m_updater.window()->title(), u"Corvella was not updated"_s);
    EXPECT_THAT(m_server.takeRequests(), IsEmpty());
}

TEST_F(MenuCheck, LeadsToANewVersion)
{
    m_updater.checkNow();
    ASSERT_TRUE(titleBecomes(u"Corvella 1.1 is available"_s));
    EXPECT_EQ(m_updater.window()->notes(), u"Sharper loops"_s);
    m_updater.window()->actionButton()->click();
    ASSERT_TRUE(titleBecomes(u"Corvella 1.1 is ready"_s));
    EXPECT_EQ(m_updater.window()->text(), u"It is installed when Corvella quits."_s);
    EXPECT_EQ(m_quits, 0);
    m_updater.window()->actionButton()->click();
    EXPECT_EQ(m_quits, 1);
    EXPECT_EQ(QFileInfo(m_home.path(u"opt/current"_s)).symLinkTarget(), m_home.path(u"opt/2"_s));
}

TEST_F(MenuCheck, SaysThatAKioskWaitsForTheNight)
{
    m_updater.when = [] { return Updater::When::overnight; };
    m_updater.checkNow();
    ASSERT_TRUE(titleBecomes(u"Corvella 1.1 is available"_s));
    m_updater.window()->actionButton()->click();
    ASSERT_TRUE(titleBecomes(u"Corvella 1.1 is ready"_s));
    EXPECT_EQ(m_updater.window()->text(), u"It is installed at night, between 3 and 5 o'clock."_s);
}

TEST_F(MenuCheck, LeavesACopyOfThePackageManagerAlone)
{
    m_updater.applicationWillTerminate();
    m_home.write(m_home.path(u"opt/1/share/corvella/package-manager"_s), "");
    m_updater.start();
    m_updater.checkNow();
    EXPECT_EQ(m_updater.window()->title(), u"Corvella was not updated"_s);
    EXPECT_EQ(m_updater.window()->text(),
              u"This copy of Corvella belongs to the system's package "
              "manager, which keeps it current."_s);
    EXPECT_EQ(socketsMade, 0);
}

TEST_F(MenuCheck, SaysWhatIsWrong)
{
    m_home.write(m_home.path(u"www/appcast.xml"_s), "nonsense");
    m_updater.checkNow();
    ASSERT_TRUE(titleBecomes(u"Corvella was not updated"_s));
    EXPECT_EQ(
        m_updater.window()->text(),
        u"The list of updates does not come from the makers of Corvella, so it was not used."_s);
}

TEST_F(MenuCheck, SaysThatThereIsNothingNewer)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    m_home.write(m_home.path(u"www/appcast.xml"_s),
                 test::signedFeed(test::makeFeed({}, now, now.addDays(1)), m_signer));
    m_updater.checkNow();
    ASSERT_TRUE(titleBecomes(u"Corvella is up to date"_s));
    EXPECT_EQ(m_updater.window()->text(), u"Version 1.0 is the newest."_s);
}

TEST_F(MenuCheck, ReadsTheFeedThatTheUserSet)
{
    ASSERT_TRUE(Settings::d().setString(u"updateFeed"_s, feed() + u".other"_s));
    m_updater.checkNow();
    ASSERT_TRUE(titleBecomes(u"Corvella was not updated"_s));
    EXPECT_THAT(m_server.takeRequests(), testing::ElementsAre(u"GET /appcast.xml.other 404"_s));
}

TEST_F(MenuCheck, ChecksAtOnceAtLaunchWhereTheSettingsSaySo)
{
    m_updater.applicationWillTerminate();
    ASSERT_TRUE(Settings::d().setBoolean(u"checkUpdatesNow"_s, true));
    int asked = 0;
    m_updater.when = [&asked] {
        ++asked;
        return Updater::When::onQuit;
    };
    m_updater.start();
    EXPECT_TRUE(becomes([&] { return asked > 0; })); // it lies ready, and nobody saw a window
    EXPECT_EQ(m_updater.window(), nullptr);
    m_updater.applicationWillTerminate();
    EXPECT_EQ(QFileInfo(m_home.path(u"opt/current"_s)).symLinkTarget(), m_home.path(u"opt/2"_s));
}

} // namespace
} // namespace corvella
