// The long actions against a real imagery host: what is said meanwhile, what is there afterwards,
// and that the window answers all the while.
#include "Preferences/PreferencesFixture.h"

#include "cache/Cache.h"
#include "support/DiskAccess.h"
#include "support/NginxServer.h"
#include "support/TestAuthority.h"
#include "support/TestImageryHost.h"

#include <QLocale>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

constexpr auto kSlow = "limit_rate 300k;"; // a clip takes a tenth of a second
constexpr qsizetype kClipBytes = 30'000;

// Sees all that stands between two events, however short.
class BeforeEachEvent : public QObject
{
public:
    std::function<void()> look;

    bool eventFilter(QObject *, QEvent *) override
    {
        look();
        return false;
    }
};

class ImageryActionsTest : public test::PreferencesFixture
{
protected:
    void SetUp() override
    {
        PreferencesFixture::SetUp();
        m_authority.trust();
        Settings::setMode(Mode::wall);
        Settings::setOffline(false);
        Settings::setProducts({u"171"_s, u"171"_s});
        m_home.stock({u"171"_s});
    }

    void serve(const QString &locations = {}, qsizetype clipBytes = kClipBytes)
    {
        m_host.emplace(test::TestImageryHost::kProducts, test::TestImageryHost::kStamp, clipBytes);
        m_server.emplace(m_authority.issue({u"localhost"_s}), m_host->folder(), locations);
        Settings::setImageryHost(m_server->host());
    }

    // What the line about the imagery says from now on, without repetitions.
    void watchStatus()
    {
        m_watch.look = [this] {
            const QString said = text("cacheStatus");
            if (m_said.isEmpty() || m_said.last() != said)
                m_said << said;
        };
        qApp->installEventFilter(&m_watch);
    }

    void TearDown() override
    {
        qApp->removeEventFilter(&m_watch);
        PreferencesFixture::TearDown();
    }

    static QString current() { return u"12 products, current to Sep 24, 08:42 PM"_s; }

    test::TestAuthority m_authority;
    std::optional<test::TestImageryHost> m_host;
    std::optional<test::NginxServer> m_server;
    BeforeEachEvent m_watch;
    QStringList m_said;
};

TEST_F(ImageryActionsTest, SaysWhatIsOnDisk)
{
    m_home.stock({u"171"_s, u"304"_s});
    open();
    EXPECT_TRUE(statusBecomes(u"2 products, current to Nov 14, 06:00 PM"_s));
    click("offlineRadio");
    EXPECT_TRUE(statusBecomes(u"2 products on disk. Offline: not updating."_s));
    m_home.clear();
    Settings::setOffline(true);
    open();
    EXPECT_TRUE(statusBecomes(u"Nothing downloaded yet"_s));
    m_home.stock({u"171"_s});
    Settings::setOffline(true);
    open();
    EXPECT_TRUE(statusBecomes(u"The built-in clip only on disk. Offline: not updating."_s));
}

TEST_F(ImageryActionsTest, DownloadsEverythingAndTellsHowFarItIs)
{
    serve(QString::fromLatin1(kSlow));
    open();
    watchStatus();
    click("primeButton");
    EXPECT_EQ(text("cacheStatus"), u"Downloading…"_s);
    EXPECT_FALSE(isEnabled("primeButton"));
    EXPECT_TRUE(control("busy").isVisible());
    EXPECT_TRUE(test::becomes([] { return isEnabled("primeButton"); }));
    EXPECT_FALSE(control("busy").isVisible());
    EXPECT_EQ(Cache::count(), 12);
    EXPECT_TRUE(test::becomes([this] { return m_said.last().startsWith(u"12 products"_s); }));
    QStringList expected{u"Downloading…"_s};
    for (int done = 0; done < 12; ++done)
        expected << u"Downloading %1 of 12…"_s.arg(done);
    EXPECT_EQ(m_said.mid(m_said.indexOf(expected.first()), expected.size()), expected);
}

// Return and Space would act on what comes next.
TEST_F(ImageryActionsTest, TheKeysAreNobodysWhileTheirButtonIsDisabled)
{
    serve(QString::fromLatin1(kSlow));
    Settings::setDesktop(true);
    open();
    for (const char *name : {"primeButton", "desktopNow"}) {
        control(name).setFocus();
        click(name);
        EXPECT_FALSE(isEnabled(name));
        EXPECT_EQ(window().focusWidget()->accessibleName(), u"Corvella"_s) << name;
        EXPECT_TRUE(test::becomes([name] { return isEnabled(name); }));
    }
}

TEST_F(ImageryActionsTest, ASecondDownloadWhileOneRunsIsNone)
{
    serve(QString::fromLatin1(kSlow));
    open();
    click("primeButton");
    watchStatus();
    click("primeButton");
    control("primeButton").setEnabled(true); // whatever lets a click through
    click("primeButton");
    EXPECT_TRUE(test::becomes([this] { return m_said.contains(u"Downloading 11 of 12…"_s); }));
    EXPECT_TRUE(control("busy").isVisible());
    EXPECT_TRUE(test::becomes([] { return !control("busy").isVisible(); }));
    EXPECT_EQ(m_server->takeRequests().filter(u"/manifest/index.json"_s).size(), 1);
    EXPECT_EQ(m_said.filter(u"within the hour"_s), QStringList());
}

TEST_F(ImageryActionsTest, ACheckSoonAfterAnotherIsRefusedWithTheTimeOfTheNext)
{
    const QDateTime last = QDateTime::currentDateTimeUtc().addSecs(-600);
    Settings::setLastManual(last);
    open();
    click("primeButton");
    const QString next = QLocale().toString(last.addSecs(3600).time(), QLocale::ShortFormat);
    EXPECT_TRUE(statusBecomes(u"The built-in clip only, current to Nov 14, 06:00 PM. Checked "
                              "within the hour; the next check can run at %1."_s.arg(next)));
    EXPECT_TRUE(isEnabled("primeButton"));
}

TEST_F(ImageryActionsTest, TheMainThreadLeavesTheDiskToOthers)
{
    serve();
    const test::DiskAccess disk(m_home.cache(u"Corvella"_s));
    open();
    EXPECT_TRUE(statusBecomes(u"The built-in clip only, current to Nov 14, 06:00 PM"_s));
    click("primeButton");
    EXPECT_TRUE(statusBecomes(current()));
    click("desktopBox");
    click("desktopNow");
    EXPECT_TRUE(test::becomes([] { return isEnabled("desktopNow"); }));
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    choose(Mode::kiosk);
    EXPECT_TRUE(statusBecomes(u"12 products on disk. Offline: not updating."_s));
    EXPECT_EQ(disk.byMainThread(), QStringList());
    EXPECT_GT(disk.countByOthers(), 12) << "as it would have been seen";
}

TEST_F(ImageryActionsTest, AKioskDownloadsWhatItLacks)
{
    serve();
    open();
    choose(Mode::kiosk);
    EXPECT_TRUE(test::becomes([] { return Cache::count() == 12 && isEnabled("primeButton"); }));
    EXPECT_TRUE(Settings::offline());
    EXPECT_TRUE(statusBecomes(u"12 products on disk. Offline: not updating."_s));
}

TEST_F(ImageryActionsTest, ACompleteKioskDownloadsNothing)
{
    serve();
    m_home.stock(test::TestImageryHost::kProducts);
    open();
    EXPECT_TRUE(test::becomes([] { return text("cacheStatus").startsWith(u"12"_s); }));
    choose(Mode::kiosk);
    EXPECT_TRUE(statusBecomes(u"12 products on disk. Offline: not updating."_s));
    EXPECT_TRUE(isEnabled("primeButton"));
    EXPECT_EQ(m_server->takeRequests(), QStringList());
}

TEST_F(ImageryActionsTest, UpdatingNowAsksTheHostAndSetsThePictures)
{
    serve(QString::fromLatin1(kSlow));
    Settings::setDesktop(true);
    open();
    click("desktopNow");
    EXPECT_EQ(text("cacheStatus"), u"Checking for new imagery…"_s);
    EXPECT_TRUE(control("busy").isVisible());
    EXPECT_FALSE(isEnabled("desktopNow"));
    EXPECT_FALSE(isEnabled("startButton"));
    EXPECT_TRUE(test::becomes([] { return isEnabled("desktopNow"); }));
    EXPECT_TRUE(isEnabled("startButton"));
    EXPECT_FALSE(control("busy").isVisible());
    EXPECT_TRUE(statusBecomes(u"The built-in clip only, current to Sep 24, 08:42 PM"_s));
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_THAT(m_desktopCalls, Contains(u"show"_s));
}

TEST_F(ImageryActionsTest, AnUpdateThatEndsAfterTheDesktopWasTurnedOffLeavesItOff)
{
    serve(QString::fromLatin1(kSlow));
    Settings::setDesktop(true);
    open();
    click("desktopNow");
    click("desktopBox");
    EXPECT_TRUE(test::becomes([] { return isEnabled("startButton"); }));
    EXPECT_FALSE(isEnabled("desktopNow"));
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
}

TEST_F(ImageryActionsTest, TheDesktopBoxShowsWhatIsOnDiskAtOnce)
{
    serve();
    open();
    click("primeButton");
    EXPECT_TRUE(statusBecomes(current()));
    click("desktopBox");
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_THAT(m_desktopCalls, Contains(u"show"_s));
}

TEST_F(ImageryActionsTest, StartInDesktopModeUpdatesFromDiskWhenOffline)
{
    Settings::setOffline(true);
    Settings::setMode(Mode::desktop);
    open();
    click("startButton");
    EXPECT_EQ(text("cacheStatus"), u"Updating from disk…"_s);
    EXPECT_TRUE(statusBecomes(u"The built-in clip only on disk. Offline: not updating."_s));
    EXPECT_THAT(m_walls.calls, Not(Contains(u"show"_s)));
    EXPECT_TRUE(isEnabled("startButton"));
    EXPECT_TRUE(isEnabled("desktopNow"));
}

TEST_F(ImageryActionsTest, ScreensThatShowOtherProductsFetchThem)
{
    serve();
    open();
    pick(0, u"AIA 193 Å"_s);
    EXPECT_TRUE(test::becomes([this] { return QFile::exists(m_home.clip(u"193"_s)); }));
    EXPECT_TRUE(test::becomes([] { return text("cacheStatus").startsWith(u"2 products"_s); }));
    m_server->takeRequests();
    click("shuffleBox"); // the same products: nobody is asked
    preferences().close();
    EXPECT_EQ(m_server->takeRequests(), QStringList());
}

TEST_F(ImageryActionsTest, OfflineScreensThatShowOtherProductsFetchNothing)
{
    serve();
    Settings::setOffline(true);
    open();
    pick(0, u"AIA 193 Å"_s);
    preferences().close();
    EXPECT_EQ(m_server->takeRequests(), QStringList());
}

// The last of this process: nothing is downloaded any more after it.
TEST_F(ImageryActionsTest, TheWindowMayGoInTheMiddleOfADownload)
{
    serve(u"limit_rate 20k;"_s, 1'000'000);
    open();
    click("primeButton");
    EXPECT_TRUE(test::becomes([] { return text("cacheStatus").endsWith(u"of 12…"_s); }));
    click("shuffleBox");
    EXPECT_TRUE(Settings::shuffle()) << "the window answers all the while";
    const test::Stopwatch ending;
    Cache::cancelRefreshing();
    preferences().close();
    EXPECT_LT(ending.elapsed(), std::chrono::seconds(5));
    QCoreApplication::processEvents(); // what was told too late reaches nobody
    EXPECT_FALSE(preferences().window());
}

} // namespace
} // namespace corvella
