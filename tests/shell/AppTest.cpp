#include "shell/AppFixture.h"

#include "Preferences/ModeRules.h"
#include "Preferences/SegmentedControl.h"
#include "cache/Cache.h"
#include "desktop/Desktop.h"
#include "desktop/DesktopUpdater.h"
#include "support/Repetitions.h"
#include "support/Waiting.h"

#include <QAbstractButton>
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QKeyEvent>

#include <gtest/gtest.h>

#include <random>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using AppTest = test::AppFixture;
using test::kLeft;
using test::kRight;

TEST_F(AppTest, AFreshInstallationOpensTheSettingsAndShowsNoWall)
{
    launch();
    EXPECT_TRUE(settingsOpen());
    EXPECT_FALSE(m_app->isShowing());
}

TEST_F(AppTest, AConfiguredWallShowsAtLaunch)
{
    configure(Mode::wall);
    launch();
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen());
    EXPECT_TRUE(logged("showing on 2 of 2 display(s), mode wall"));
}

TEST_F(AppTest, AConfiguredKioskShowsAtLaunch)
{
    configure(Mode::kiosk);
    launch();
    EXPECT_TRUE(logged("showing on 2 of 2 display(s), mode kiosk"));
}

TEST_F(AppTest, AConfiguredSaverOpensTheSettingsAndWaits)
{
    configure(Mode::saver);
    launch();
    EXPECT_TRUE(settingsOpen());
    EXPECT_FALSE(m_app->isShowing());
}

TEST_F(AppTest, AConfiguredDesktopShowsNothing)
{
    configure(Mode::desktop);
    launch();
    EXPECT_FALSE(settingsOpen());
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_TRUE(logged("desktop mode: resident, no windows"));
}

TEST_F(AppTest, RefreshesTheImageryAtLaunchAndEveryHour)
{
    const QString refreshed = QStringLiteral("offline or read-only, not refreshing the cache");
    const auto refreshes = [&] { return m_log->messages().count(refreshed); };
    Cache::setReadOnly(true); // each refresh says so, and asks nobody
    Settings::setOffline(false);
    launch();
    EXPECT_TRUE(test::becomes([&] { return refreshes() == 1; }));
    m_clock.advance(3599s);
    m_app->workQueue().advance();
    for (const int times : {2, 3}) {
        m_clock.advance(1s);
        m_app->workQueue().advance();
        EXPECT_TRUE(test::becomes([&] { return refreshes() == times; }));
        m_clock.advance(3599s);
        m_app->workQueue().advance();
    }
    m_app.reset(); // awaits what is under way
    EXPECT_EQ(refreshes(), 3);
    Cache::setReadOnly(false);
}

// An App with a calendar that the test sets: what its clock does not count, the machine has slept.
class AppThatSlept : public AppTest
{
protected:
    AppThatSlept()
    {
        Cache::setReadOnly(true); // each refresh says so, and asks nobody
    }
    ~AppThatSlept() override { Cache::setReadOnly(false); }
    App::Surroundings surroundings() override
    {
        App::Surroundings surroundings = AppTest::surroundings();
        surroundings.now = [this] { return m_now; };
        return surroundings;
    }
    qsizetype refreshes()
    {
        return logged(QStringLiteral("offline or read-only, not refreshing the cache")).size();
    }
    bool hasRefreshed(int times)
    {
        return test::becomes([&] { return refreshes() == times; });
    }
    void stayAwake(std::chrono::seconds time)
    {
        m_clock.advance(time);
        m_now = m_now.addSecs(time.count());
        m_app->workQueue().advance();
    }
    void sleep(std::chrono::seconds time)
    {
        m_now = m_now.addSecs(time.count());
        m_app->lookAfterSleep();
    }

    QDateTime m_now{QDate(2026, 10, 1), QTime(12, 0), Qt::UTC};
};

TEST_F(AppThatSlept, RefreshesAsSoonAsTheNetworkShouldBeThere)
{
    Settings::setOffline(false);
    launch();
    EXPECT_TRUE(hasRefreshed(1));
    sleep(8h);
    stayAwake(15s);
    EXPECT_TRUE(hasRefreshed(2));
    // From here the next hour counts.
    stayAwake(3599s);
    EXPECT_EQ(refreshes(), 2);
    stayAwake(1s);
    EXPECT_TRUE(hasRefreshed(3));
    m_app.reset(); // awaits what is under way
    EXPECT_EQ(refreshes(), 3);
}

TEST_F(AppThatSlept, RefreshesNoSooner)
{
    Settings::setOffline(false);
    launch();
    sleep(8h);
    stayAwake(14s);
    m_app.reset(); // awaits what is under way
    EXPECT_EQ(refreshes(), 1);
}

TEST_F(AppThatSlept, RefreshesNoMoreOftenThanEveryHour)
{
    Settings::setOffline(false);
    launch();
    EXPECT_TRUE(hasRefreshed(1));
    for (const std::chrono::seconds nap : {60s, 0s, 3494s}) {
        sleep(nap);
        stayAwake(15s); // 3599 seconds in all
    }
    EXPECT_EQ(refreshes(), 1);
    sleep(1s);
    stayAwake(15s);
    EXPECT_TRUE(hasRefreshed(2));
    // A clock that was put back by a year says nothing of how long it was.
    m_now = m_now.addYears(-1);
    sleep(1s);
    stayAwake(15s);
    EXPECT_TRUE(hasRefreshed(3));
    m_app.reset();
    EXPECT_EQ(refreshes(), 3);
}

TEST_F(AppThatSlept, LooksForImageryAsSoonAsItIsNoLongerOffline)
{
    launch();
    tickAfterIdle(0);
    EXPECT_EQ(refreshes(), 0);
    Settings::setOffline(false);
    tickAfterIdle(0);
    EXPECT_TRUE(hasRefreshed(1));
    tickAfterIdle(0);
    stayAwake(3600s);
    EXPECT_TRUE(hasRefreshed(2));
    m_app.reset(); // awaits what is under way
    EXPECT_EQ(refreshes(), 2);
}

TEST_F(AppThatSlept, StaysOffTheNetworkWhereItIsOffline)
{
    launch();
    sleep(8h);
    stayAwake(15s);
    m_app.reset();
    EXPECT_EQ(refreshes(), 0);
}

// An App and a desktop that shows pictures to nobody; without stills it says so at each update.
class AppWithDesktop : public AppTest
{
protected:
    AppWithDesktop() { Desktop::setUpdater(&m_desktop); }
    ~AppWithDesktop() override { Desktop::setUpdater(nullptr); }

    int updates()
    {
        EXPECT_TRUE(m_desktop.finish(10s));
        return static_cast<int>(logged(QStringLiteral("desktop: no stills cached yet")).size());
    }

    DesktopUpdater m_desktop{[] { return QList<PictureScreen>(); },
                             DesktopPictures::create(m_home.path())};
};

TEST_F(AppWithDesktop, OfflineThePicturesAreSetAtLaunch)
{
    configure(Mode::desktop);
    launch();
    EXPECT_EQ(updates(), 1);
}

TEST_F(AppWithDesktop, ThePicturesFollowEveryRefresh)
{
    configure(Mode::desktop);
    Settings::setOffline(false);
    Cache::setReadOnly(true);
    launch();
    EXPECT_EQ(updates(), 0);
    EXPECT_TRUE(test::becomes([&] { return updates() == 1; }));
    m_clock.advance(3600s);
    m_app->workQueue().advance();
    EXPECT_TRUE(test::becomes([&] { return updates() == 2; }));
    m_app.reset();
    Cache::setReadOnly(false);
}

TEST_F(AppWithDesktop, OfflineThePicturesAreSetOnRequestWithoutACheck)
{
    configure(Mode::desktop);
    Settings::setLastManual(QDateTime::currentDateTimeUtc());
    launch();
    EXPECT_EQ(updates(), 1);
    m_app->perform(QStringLiteral("update-desktop"));
    EXPECT_TRUE(test::becomes([&] { return updates() == 2; }));
    EXPECT_TRUE(logged(QStringLiteral("update: ")).isEmpty());
}

TEST_F(AppWithDesktop, ThePicturesAreSetOnRequestAlsoWhereACheckIsRefused)
{
    configure(Mode::desktop);
    launch();
    Settings::setOffline(false);
    Settings::setLastManual(QDateTime::currentDateTimeUtc());
    m_app->perform(QStringLiteral("start")); // what the desktop's start is
    EXPECT_TRUE(test::becomes([&] { return updates() == 2; }));
    EXPECT_EQ(logged(QStringLiteral("update: checked recently")).size(), 1);
}

TEST_F(AppWithDesktop, NoPicturesAreSetWhereNoneAreWanted)
{
    configure(Mode::saver);
    launch();
    EXPECT_EQ(updates(), 0);
}

TEST_F(AppTest, StartShowsWallsEvenWhenNeverConfigured)
{
    Settings::setMode(Mode::wall);
    launch({QStringLiteral("--start")});
    EXPECT_TRUE(m_app->isShowing());
}

TEST_F(AppTest, StartInDesktopModeShowsNothingAndOpensNoSettings)
{
    configure(Mode::desktop);
    launch({QStringLiteral("--start")});
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen());
}

TEST_F(AppTest, EachWallCoversItsScreen)
{
    configure(Mode::wall);
    launch();
    ASSERT_EQ(m_app->windows().size(), 2U);
    EXPECT_EQ(m_app->windows()[0]->geometry(), QRect(0, 0, 1280, 720));
    EXPECT_EQ(m_app->windows()[1]->geometry(), QRect(1280, 0, 800, 600));
    for (const auto &window : m_app->windows()) {
        EXPECT_TRUE(window->isVisible());
        EXPECT_TRUE(window->flags() & Qt::FramelessWindowHint);
    }
}

TEST_F(AppTest, AScreenThatIsOffIsLeftAlone)
{
    configure(Mode::wall, {QStringLiteral("all"), QStringLiteral("off")});
    launch();
    ASSERT_EQ(m_app->windows().size(), 1U);
    EXPECT_EQ(m_app->windows()[0]->geometry(), QRect(0, 0, 1280, 720));
    EXPECT_FALSE(m_app->coversAll());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr) << "the pointer is not hidden";
    EXPECT_TRUE(logged("showing on 1 of 2 display(s), mode wall"));
}

TEST_F(AppTest, CoveringEveryScreenHidesThePointerUntilTheWallsGo)
{
    configure(Mode::wall);
    launch();
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    m_app->hide();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(AppTest, WithEveryScreenOffItSaysSoAndOpensTheSettings)
{
    configure(Mode::wall, {QStringLiteral("off")});
    launch();
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_TRUE(settingsOpen());
    EXPECT_TRUE(logged("every screen is Off; nothing to show"));
}

const QString kNothingToShow = QStringLiteral("every screen is Off; nothing to show");

TEST_F(AppTest, ASaverWithEveryScreenOffSaysSoOnceEachTimeNobodyIsThere)
{
    configure(Mode::saver, {QStringLiteral("off"), QStringLiteral("off")});
    launch();
    Preferences::shared().hide();
    for (const double idle : {300.0, 300.25, 100'000.0})
        tickAfterIdle(idle);
    EXPECT_EQ(logged(kNothingToShow).size(), 1);
    EXPECT_TRUE(settingsOpen());
    Preferences::shared().hide();
    tickAfterIdle(100'001);
    EXPECT_FALSE(settingsOpen()) << "once is enough";
    tickAfterIdle(0); // somebody came
    tickAfterIdle(300);
    EXPECT_EQ(logged(kNothingToShow).size(), 2);
    EXPECT_TRUE(settingsOpen());
}

TEST_F(AppTest, ASaverWithEveryScreenOffShowsOnceOneIsChosen)
{
    configure(Mode::saver, {QStringLiteral("off"), QStringLiteral("off")});
    launch();
    tickAfterIdle(300);
    Settings::setProducts({QStringLiteral("off"), QStringLiteral("all")});
    tickAfterIdle(300.25);
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen());
}

TEST_F(AppTest, WallsThatWereUpStayShownWhenEveryScreenIsTurnedOff)
{
    configure(Mode::wall);
    launch();
    Settings::setProducts({QStringLiteral("off"), QStringLiteral("off")});
    m_app->show();
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_TRUE(m_app->windows().empty());
    EXPECT_EQ(logged(kNothingToShow).size(), 1);
    EXPECT_TRUE(settingsOpen());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr) << "it takes a pointer to use them";
}

TEST_F(AppTest, ASaverComesUpWhenTheIdleTimeIsReachedAndNotBefore)
{
    configure(Mode::saver);
    Settings::setIdleMinutes(5);
    launch();
    tickAfterIdle(299.9);
    EXPECT_FALSE(m_app->isShowing());
    tickAfterIdle(300);
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen());
}

TEST_F(AppTest, ASaverEndsOnInputOnlyOnceInputHasSettled)
{
    configure(Mode::saver);
    launch();
    tickAfterIdle(300);
    m_clock.advance(1400ms);
    tickAfterIdle(301.4); // nobody is there since long ago, but the walls are new
    m_clock.advance(100ms);
    tickAfterIdle(0.1); // the mouse moves
    EXPECT_TRUE(m_app->isShowing());
    tickAfterIdle(1.4);
    tickAfterIdle(0.1);
    EXPECT_TRUE(m_app->isShowing());
    tickAfterIdle(1.5); // settled
    tickAfterIdle(0.5);
    EXPECT_TRUE(m_app->isShowing()) << "half a second ago is no longer now";
    tickAfterIdle(0.49);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen()) << "a saver never opens the settings";
}

TEST_F(AppTest, ASaverThatWaitsGoesByTheSettingsOfTheMoment)
{
    configure(Mode::saver);
    Settings::setIdleMinutes(5);
    launch();
    tickAfterIdle(120);
    tickAfterIdle(120);
    Settings::setIdleMinutes(3);
    tickAfterIdle(120);
    EXPECT_FALSE(m_app->isShowing());
    Settings::setMode(Mode::desktop);
    tickAfterIdle(200);
    EXPECT_FALSE(m_app->isShowing());
    Settings::setMode(Mode::saver);
    Settings::setIdleMinutes(2);
    tickAfterIdle(120);
    EXPECT_TRUE(m_app->isShowing());
}

// Until then it knows by heart that there are none.
TEST_F(AppTest, AProgramAtRestGoesByTheSettingsThatItIsGiven)
{
    launch();
    ASSERT_TRUE(QFile::remove(Settings::d().filePath()));
    for (int i = 0; i < 3; ++i)
        tickAfterIdle(200);
    EXPECT_FALSE(m_app->isShowing());
    configure(Mode::saver);
    Settings::setIdleMinutes(3);
    tickAfterIdle(200);
    EXPECT_TRUE(m_app->isShowing());
}

// Says how long ago there was input, and notes how often a timer of the program asks.
class AskedIdleClock final : public QObject, public IdleClock
{
public:
    AskedIdleClock() { qApp->installEventFilter(this); }

    double secondsIdle() override
    {
        ++timesAsked;
        interval = m_intervalOfTimer;
        return seconds;
    }

    double seconds = 0;
    int timesAsked = 0;
    std::chrono::milliseconds interval{0}; // of the timer that was behind the last question

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Timer)
            return false;
        const int id = static_cast<QTimerEvent *>(event)->timerId();
        for (const auto &timer : QAbstractEventDispatcher::instance()->registeredTimers(watched)) {
            if (timer.timerId == id)
                m_intervalOfTimer = std::chrono::milliseconds(timer.interval);
        }
        return false;
    }

private:
    std::chrono::milliseconds m_intervalOfTimer{0}; // that ran out last
};

class SaverOnItsOwn : public test::AppFixture
{
protected:
    void SetUp() override
    {
        AppFixture::SetUp();
        configure(Mode::saver);
        launch();
    }

    App::Surroundings surroundings() override
    {
        return {m_screens, m_idle, m_presentation, m_clock, RendererKind::raster};
    }

    // Lets the program look once more by itself.
    [[nodiscard]] bool looksAgain()
    {
        return test::becomes(
            [this, before = m_idle.timesAsked] { return m_idle.timesAsked > before; },
            test::kGenerous, 1ms);
    }

    AskedIdleClock m_idle;
};

TEST_F(SaverOnItsOwn, EndsWithinAQuarterOfASecondOfInput)
{
    m_idle.seconds = 300;
    ASSERT_TRUE(test::becomes([this] { return m_app->isShowing(); }));
    m_clock.advance(1500ms);
    ASSERT_TRUE(looksAgain()); // and finds it settled
    m_idle.seconds = 0;
    ASSERT_TRUE(looksAgain());
    EXPECT_FALSE(m_app->isShowing()) << "at the first look";
    EXPECT_GT(m_idle.interval, 0ms);
    EXPECT_LE(m_idle.interval, 250ms);
}

TEST_F(SaverOnItsOwn, LooksFourTimesASecondWhileItWaits)
{
    for (const double idle : {0.0, 298.0}) {
        m_idle.seconds = idle;
        ASSERT_TRUE(looksAgain() && looksAgain());
        EXPECT_EQ(m_idle.interval, 250ms);
    }
}

TEST_F(AppTest, ASaverThatIsShownAnewHasToSettleAnew)
{
    configure(Mode::saver);
    launch();
    tickAfterIdle(300);
    m_clock.advance(1500ms);
    tickAfterIdle(301.5); // settled
    m_app->hide();
    m_app->show();
    tickAfterIdle(0.1);
    EXPECT_TRUE(m_app->isShowing());
}

TEST_F(AppTest, ASaversWallsLetThePointerThrough)
{
    configure(Mode::saver);
    launch();
    tickAfterIdle(300);
    for (const auto &window : m_app->windows())
        EXPECT_TRUE(window->flags() & Qt::WindowTransparentForInput);
}

TEST_F(AppTest, AWallDoesNotStartByItselfUnlessArmed)
{
    configure(Mode::wall);
    Settings::setConfigured(false);
    launch();
    tickAfterIdle(100'000);
    EXPECT_FALSE(m_app->isShowing());
    m_app->arm();
    EXPECT_FALSE(settingsOpen());
    EXPECT_TRUE(logged("armed: waiting for 5 min idle, then wall"));
    tickAfterIdle(299);
    EXPECT_FALSE(m_app->isShowing());
    tickAfterIdle(300);
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_FALSE(m_app->isArmedWaiting());
}

TEST_F(AppTest, ArmingInDesktopModeOnlySaysSoAndClosesTheSettings)
{
    configure(Mode::desktop);
    launch();
    Preferences::shared().show();
    m_app->arm();
    EXPECT_FALSE(settingsOpen());
    EXPECT_FALSE(m_app->isArmedWaiting());
    EXPECT_TRUE(logged("armed: desktop keeps the picture current"));
}

TEST_F(AppTest, ArmingWhileShowingDoesNothing)
{
    configure(Mode::wall);
    launch();
    m_app->arm();
    EXPECT_FALSE(m_app->isArmedWaiting());
    EXPECT_TRUE(logged(QStringLiteral("armed")).isEmpty());
    EXPECT_TRUE(m_app->isShowing());
}

TEST_F(AppTest, OpeningTheSettingsDisarms)
{
    configure(Mode::kiosk);
    Settings::setConfigured(false);
    launch();
    m_app->arm();
    Preferences::shared().show();
    EXPECT_FALSE(m_app->isArmedWaiting());
    EXPECT_TRUE(logged("disarmed"));
}

TEST_F(AppTest, ShowingInDesktopModeLeavesEverythingAsItWas)
{
    configure(Mode::desktop);
    launch();
    Preferences::shared().show();
    m_app->show();
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_TRUE(settingsOpen());
}

TEST_F(AppTest, LocksAKioskAndNothingElse)
{
    using State = Presentation::State;
    const struct
    {
        Mode mode;
        QString rightScreen;
        State expected;
    } rows[] = {
        {Mode::kiosk, QStringLiteral("all"), State::locked},
        {Mode::kiosk, QStringLiteral("off"), State::locked},
        {Mode::wall, QStringLiteral("all"), State::immersive},
        {Mode::wall, QStringLiteral("off"), State::ordinary},
        {Mode::saver, QStringLiteral("all"), State::immersive},
        {Mode::saver, QStringLiteral("off"), State::ordinary},
    };
    for (const auto &row : rows) {
        configure(row.mode, {QStringLiteral("all"), row.rightScreen});
        m_app->show();
        EXPECT_EQ(m_presentation.state, row.expected)
            << qPrintable(rawValue(row.mode) + u' ' + row.rightScreen);
        m_app->hide();
        EXPECT_EQ(m_presentation.state, State::ordinary);
    }
}

TEST_F(AppTest, TellsWhichWallsAKioskHas)
{
    configure(Mode::kiosk);
    launch();
    const QList<QWindow *> walls{m_app->windows()[0].get(), m_app->windows()[1].get()};
    EXPECT_EQ(m_presentation.walls, walls);
    m_app->hide();
    EXPECT_TRUE(m_presentation.walls.isEmpty());
}

TEST_F(AppTest, HidingTakesEveryWindowDown)
{
    configure(Mode::wall);
    launch();
    m_app->hide();
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_TRUE(m_app->windows().empty());
    for (const QWindow *window : QGuiApplication::topLevelWindows())
        EXPECT_FALSE(window->isVisible());
}

TEST_F(AppTest, NobodyElseClosesOrMinimisesAWall)
{
    for (const Mode mode : {Mode::wall, Mode::kiosk}) {
        configure(mode);
        m_app->show();
        WallWindow &window = *m_app->windows().front();
        EXPECT_FALSE(window.close());
        EXPECT_TRUE(window.isVisible());
        window.setWindowStates(Qt::WindowMinimized);
        EXPECT_EQ(window.windowState(), Qt::WindowFullScreen);
        m_app->hide();
        EXPECT_TRUE(m_app->windows().empty());
    }
}

TEST_F(AppTest, ShowingAgainBuildsAnew)
{
    configure(Mode::wall);
    launch();
    Settings::setProducts({QStringLiteral("all"), QStringLiteral("off")});
    m_app->show();
    EXPECT_EQ(m_app->windows().size(), 1U);
}

TEST_F(AppTest, EndsItselfAfterTheSecondsAskedFor)
{
    configure(Mode::desktop);
    const SteadyMediaClock clock;
    App app({m_screens, m_idleClock, m_presentation, clock, RendererKind::raster});
    // quit() asks for the loop's end through an event, which a test can see without a loop of its
    // own.
    bool asked = false;
    QObject::connect(qGuiApp, &QCoreApplication::aboutToQuit, &app, [&] { asked = true; });
    app.applicationDidFinishLaunching(
        CommandLine::parse({QStringLiteral("--seconds"), QStringLiteral("-1")}));
    QCoreApplication::exec();
    EXPECT_TRUE(asked);
}

class DisplayChanges : public AppTest
{
protected:
    void SetUp() override
    {
        AppTest::SetUp();
        configure(Mode::wall);
        launch();
    }

    void pass(MediaTime time)
    {
        m_clock.advance(time);
        m_app->workQueue().advance();
    }

    QStringList rebuilds() { return logged(QStringLiteral("display layout changed")); }

    // To the first display, as a window manager does with the windows of one that has gone.
    static void takeAway(WallWindow &wall)
    {
        wall.setWindowStates(Qt::WindowNoState);
        wall.setGeometry(kLeft.frame);
        EXPECT_TRUE(test::becomes([&wall] { return wall.geometry() == kLeft.frame; }));
    }

    const test::OffscreenScreen kThird{QStringLiteral("Third"), {2080, 0, 640, 480}};
};

TEST_F(DisplayChanges, RebuildOnceHalfASecondAfterTheLast)
{
    test::setOffscreenScreens({kLeft, kRight, kThird});
    pass(300ms);
    test::setOffscreenScreens({kLeft});
    pass(499ms);
    EXPECT_EQ(rebuilds(), QStringList());
    pass(1ms);
    EXPECT_EQ(rebuilds(), QStringList{QStringLiteral("display layout changed (2 -> 1)")});
    ASSERT_EQ(m_app->windows().size(), 1U);
    EXPECT_EQ(m_app->windows()[0]->geometry(), kLeft.frame);
    pass(1h);
    EXPECT_EQ(rebuilds().size(), 1);
}

TEST_F(DisplayChanges, ThatOnlyAManagerSawGiveAWallBackToItsDisplay)
{
    for (int i = 0; i < 4; ++i)
        tickAfterIdle(0); // it has settled
    takeAway(*m_app->windows()[1]);
    tickAfterIdle(0);
    EXPECT_EQ(rebuilds(), QStringList());
    pass(500ms);
    EXPECT_EQ(rebuilds(), QStringList{QStringLiteral("display layout changed (2 -> 2)")});
    EXPECT_EQ(m_app->windows()[1]->geometry(), kRight.frame);
}

TEST_F(DisplayChanges, ThatLeaveNothingToSeeGiveAWallBackThatHadNoTimeToSettle)
{
    Q_EMIT m_screens.mayHaveChanged();
    takeAway(*m_app->windows()[1]);
    tickAfterIdle(0);
    pass(500ms);
    EXPECT_EQ(rebuilds(), QStringList{QStringLiteral("display layout changed (2 -> 2)")});
    EXPECT_EQ(m_app->windows()[1]->geometry(), kRight.frame);
}

TEST_F(DisplayChanges, NeverMoveAWallThatIsElsewhereFromTheStart)
{
    takeAway(*m_app->windows()[1]);
    for (int i = 0; i < 20; ++i) {
        tickAfterIdle(0);
        pass(500ms);
    }
    EXPECT_EQ(rebuilds(), QStringList());
}

struct NoWallLeft : DisplayChanges
{
    // The only screen that was on is gone, and the other one is the user's.
    void lose(Mode mode)
    {
        m_app->hide();
        configure(mode, {QStringLiteral("off"), QStringLiteral("all")});
        m_app->show();
        ASSERT_EQ(m_app->windows().size(), 1U);
        test::setOffscreenScreens({kLeft});
        pass(500ms);
        ASSERT_TRUE(m_app->windows().empty());
        ASSERT_TRUE(m_app->isShowing());
    }
};

TEST_F(NoWallLeft, ASecondStartOpensTheSettings)
{
    lose(Mode::wall);
    m_app->perform({});
    EXPECT_TRUE(settingsOpen());
}

TEST_F(NoWallLeft, AKioskStaysClosed)
{
    lose(Mode::kiosk);
    m_app->perform({});
    EXPECT_FALSE(settingsOpen());
}

TEST_F(DisplayChanges, ThatAreTakenBackChangeNothing)
{
    const auto before = m_app->windows()[0]->winId();
    test::setOffscreenScreens({kLeft, kRight, kThird});
    test::setOffscreenScreens({kLeft, kRight});
    pass(500ms);
    EXPECT_EQ(rebuilds(), QStringList());
    EXPECT_EQ(m_app->windows()[0]->winId(), before);
}

TEST_F(DisplayChanges, ThatTakeADisplayAwayForAMomentOnlyLeaveItsWallInItsPlace)
{
    test::setOffscreenScreens({kLeft});
    test::setOffscreenScreens({kLeft, kRight});
    pass(500ms);
    ASSERT_EQ(m_app->windows().size(), 2U);
    const WallWindow &wall = *m_app->windows()[1];
    EXPECT_EQ(wall.geometry(), kRight.frame);
    EXPECT_EQ(wall.screen(), m_screens.list()[1].screen);
    EXPECT_EQ(rebuilds(), QStringList{QStringLiteral("display layout changed (2 -> 2)")});
}

TEST_F(DisplayChanges, LeaveTheWallsAloneWhenNoDisplayIsLeft)
{
    test::setOffscreenScreens({{kLeft.name, {}}});
    pass(500ms);
    EXPECT_EQ(rebuilds(), QStringList());
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_EQ(m_app->windows().size(), 2U);
}

// As with a kiosk that starts while its display is still switched off.
TEST_F(DisplayChanges, BringTheFirstWallWhereThereWasNoDisplay)
{
    m_app->hide();
    test::setOffscreenScreens({{kLeft.name, {}}});
    configure(Mode::kiosk);
    m_app->show();
    EXPECT_TRUE(logged("showing on 0 of 0 display(s), mode kiosk"));
    EXPECT_EQ(m_presentation.state, Presentation::State::locked);
    EXPECT_FALSE(settingsOpen());
    EXPECT_TRUE(m_app->windows().empty());
    test::setOffscreenScreens({kLeft});
    pass(500ms);
    EXPECT_EQ(rebuilds(), QStringList{QStringLiteral("display layout changed (0 -> 1)")});
    ASSERT_EQ(m_app->windows().size(), 1U);
    EXPECT_EQ(m_app->windows()[0]->geometry(), kLeft.frame);
}

TEST_F(DisplayChanges, AreOfNoAccountWhileNoWallIsUp)
{
    m_app->hide();
    test::setOffscreenScreens({kLeft});
    pass(500ms);
    EXPECT_EQ(rebuilds(), QStringList());
    EXPECT_TRUE(m_app->windows().empty());
}

TEST_F(DisplayChanges, ThatLeaveOnlyScreensThatAreOffTakeTheWallsDownButNotTheShow)
{
    Settings::setProducts({QStringLiteral("off"), QStringLiteral("all")});
    test::setOffscreenScreens({kLeft});
    pass(500ms);
    EXPECT_EQ(rebuilds().size(), 1);
    EXPECT_TRUE(m_app->windows().empty());
    EXPECT_TRUE(m_app->isShowing());
    test::setOffscreenScreens({kLeft, kRight});
    pass(500ms);
    ASSERT_EQ(m_app->windows().size(), 1U);
    EXPECT_EQ(m_app->windows()[0]->geometry(), kRight.frame);
}

TEST_F(DisplayChanges, OfTheScaleAloneRebuildToo)
{
    test::setOffscreenScreens({kLeft, {kRight.name, kRight.frame, 1}});
    m_app->tick();
    pass(499ms);
    m_app->tick();
    EXPECT_EQ(rebuilds(), QStringList());
    pass(1ms);
    EXPECT_EQ(rebuilds(), QStringList{QStringLiteral("display layout changed (2 -> 2)")});
}

// Layouts of up to four displays one after the other, seeded. After each the walls cover just the
// displays that are there.
TEST_F(DisplayChanges, OneAfterTheOtherLeaveEachWallOnItsScreen)
{
    std::mt19937 random(20261121);
    const auto upTo = [&random](int most) {
        return std::uniform_int_distribution<int>(0, most)(random);
    };
    const int changes = test::repetitions("CORVELLA_LAYOUT_CHANGES", 60);
    for (int change = 0; change < changes; ++change) {
        QList<test::OffscreenScreen> screens;
        const int last = upTo(3);
        int x = 0;
        for (int i = 0; i <= last; ++i) {
            const QSize size(320 + 80 * upTo(8), 240 + 60 * upTo(8));
            // A screen of the same name is the same display, moved, turned or rescaled.
            screens << test::OffscreenScreen{QStringLiteral("Display %1").arg(i),
                                             QRect(QPoint(x, 10 * upTo(5)), size),
                                             1 + upTo(4) * 0.25};
            x += size.width();
        }
        test::setOffscreenScreens(screens);
        m_app->tick();
        pass(500ms);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        ASSERT_EQ(m_app->windows().size(), static_cast<size_t>(screens.size()));
        QList<QRect> covered;
        for (const auto &window : m_app->windows())
            covered << window->geometry();
        for (const test::OffscreenScreen &screen : screens)
            ASSERT_TRUE(covered.contains(screen.frame)) << "after change " << change;
        ASSERT_EQ(m_app->closeButtons().size(), m_app->windows().size());
        ASSERT_TRUE(m_app->coversAll());
        const auto windows = QGuiApplication::allWindows();
        ASSERT_EQ(std::count_if(windows.begin(), windows.end(),
                                [](const QWindow *window) {
                                    return qobject_cast<const WallWindow *>(window);
                                }),
                  screens.size())
            << "none is left over";
    }
    EXPECT_TRUE(m_app->isShowing());
}

// Another mode is stored, as by a shell, while walls are up.
class ModeFromAShell : public AppTest
{
protected:
    using State = Presentation::State;

    void show(Mode mode, const QStringList &products = {QStringLiteral("all")})
    {
        configure(mode, products);
        launch();
        m_app->show();
    }
    void change(Mode from, Mode to)
    {
        show(from);
        Settings::setMode(to);
        tickAfterIdle(10);
    }
};

TEST_F(ModeFromAShell, MakesAKioskAWall)
{
    change(Mode::kiosk, Mode::wall);
    EXPECT_TRUE(logged("mode changed (kiosk -> wall)"));
    EXPECT_TRUE(logged("showing on 2 of 2 display(s), mode wall"));
    EXPECT_EQ(m_presentation.state, State::immersive);
    EXPECT_TRUE(m_app->badges().empty());
    EXPECT_EQ(m_app->closeButtons().size(), 2U);
    EXPECT_FALSE(settingsOpen());
}

TEST_F(ModeFromAShell, MakesAKioskAWallThatLocksNothingBesideAScreenThatIsOff)
{
    show(Mode::kiosk, {QStringLiteral("all"), QStringLiteral("off")});
    Settings::setMode(Mode::wall);
    tickAfterIdle(10);
    EXPECT_EQ(m_presentation.state, State::ordinary);
}

TEST_F(ModeFromAShell, MakesAWallAKiosk)
{
    change(Mode::wall, Mode::kiosk);
    EXPECT_EQ(m_presentation.state, State::locked);
    EXPECT_EQ(m_app->badges().size(), 2U);
    EXPECT_TRUE(m_app->closeButtons().empty());
}

TEST_F(ModeFromAShell, TakesTheWallsDownForADesktop)
{
    change(Mode::kiosk, Mode::desktop);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_EQ(m_presentation.state, State::ordinary);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_FALSE(settingsOpen());
}

TEST_F(ModeFromAShell, LetsASaverWaitForItsTime)
{
    change(Mode::wall, Mode::saver);
    EXPECT_FALSE(m_app->isShowing());
    tickAfterIdle(299);
    EXPECT_FALSE(m_app->isShowing());
    tickAfterIdle(300);
    EXPECT_TRUE(m_app->isShowing());
}

TEST_F(ModeFromAShell, MakesASaverAWallThatInputDoesNotEnd)
{
    change(Mode::saver, Mode::wall);
    EXPECT_TRUE(m_app->isShowing());
    tickAfterIdle(0);
    EXPECT_TRUE(m_app->isShowing());
    for (const auto &window : m_app->windows())
        EXPECT_FALSE(window->flags() & Qt::WindowTransparentForInput);
}

// Who looks at another mode in the settings window, on a screen that is Off, starts nothing by it.
class ModeFromTheWindow : public ModeFromAShell
{
protected:
    void choose(Mode mode)
    {
        Preferences::shared().show();
        for (const QWidget *window : QApplication::topLevelWidgets()) {
            const auto *modes = window->findChild<SegmentedControl *>(QStringLiteral("mode"));
            for (size_t i = 0; modes && i < kModeSegments.size(); ++i) {
                if (kModeSegments[i] == mode)
                    modes->segment(int(i))->click();
            }
        }
        ASSERT_EQ(Settings::mode(), mode);
        tickAfterIdle(10);
    }
};

TEST_F(ModeFromTheWindow, LeavesTheWallsThatAreUp)
{
    show(Mode::wall, {QStringLiteral("all"), QStringLiteral("off")});
    choose(Mode::kiosk);
    EXPECT_TRUE(settingsOpen());
    EXPECT_EQ(m_presentation.state, State::ordinary);
    EXPECT_EQ(m_app->closeButtons().size(), 1U);
    choose(Mode::saver);
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_EQ(m_app->closeButtons().size(), 1U);
    m_app->show(); // Start
    EXPECT_TRUE(m_app->closeButtons().empty());
    Settings::setMode(Mode::kiosk); // a shell
    tickAfterIdle(10);
    EXPECT_EQ(m_presentation.state, State::locked);
}

TEST_F(ModeFromAShell, IsNoneWhenTheSettingsAreLost)
{
    show(Mode::kiosk);
    Settings::d().remove(QStringLiteral("mode"));
    tickAfterIdle(0);
    test::setOffscreenScreens({kLeft});
    m_clock.advance(500ms);
    m_app->workQueue().advance();
    EXPECT_EQ(m_app->badges().size(), 1U);
    EXPECT_TRUE(m_app->buttonsVisible());
    EXPECT_EQ(m_presentation.state, State::locked);
}

class AppWithoutOpenGl : public AppTest
{
protected:
    App::Surroundings surroundings() override
    {
        App::Surroundings surroundings = AppTest::surroundings();
        surroundings.renderer = RendererKind::gl; // which this platform has not
        return surroundings;
    }
};

TEST_F(AppWithoutOpenGl, ShowsItsWallsAllTheSameAfterAWhile)
{
    const QString kGone = QStringLiteral("no OpenGL for this window");
    configure(Mode::wall);
    launch();
    ASSERT_TRUE(test::becomes([&] { return logged(kGone).size() == 2; }));
    m_clock.advance(14s);
    EXPECT_FALSE(test::becomes([&] { return logged("renderer: raster (OpenGL stays away)"); }, 2s));
    m_clock.advance(1s);
    ASSERT_TRUE(test::becomes([&] { return logged("renderer: raster (OpenGL stays away)"); }));
    ASSERT_EQ(m_app->walls().size(), 2U);
    for (const auto &wall : m_app->walls())
        EXPECT_EQ(wall->tree().renderer(), RendererKind::raster);
    EXPECT_EQ(logged(kGone).size(), 2);
}

// Counts the keys that reach it.
class KeyCounter : public QWindow
{
public:
    int presses = 0;

protected:
    void keyPressEvent(QKeyEvent * /*event*/) override { ++presses; }
};

class KeyTest : public AppTest
{
protected:
    static void pressIn(QWindow &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(&window, &event);
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        pressIn(*m_app->windows().front(), key, modifiers);
    }

    // The products so far, in the order in which they were played.
    QStringList played()
    {
        QStringList ids = logged(QStringLiteral("playing "));
        return ids.replaceInStrings(QStringLiteral("playing "), QString());
    }
};

TEST_F(KeyTest, ReachesOtherWindowsOnlyWhileNoWallIsUp)
{
    configure(Mode::wall);
    Settings::setConfigured(false);
    launch();
    KeyCounter other;
    pressIn(other, Qt::Key_Right, Qt::NoModifier);
    pressIn(other, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(other.presses, 2);
    m_app->show();
    pressIn(other, Qt::Key_Escape, Qt::NoModifier);
    EXPECT_EQ(other.presses, 2);
    m_app->hide();
    pressIn(other, Qt::Key_Escape, Qt::NoModifier);
    EXPECT_EQ(other.presses, 3);
}

TEST_F(KeyTest, ArrowsStepThroughTheClips)
{
    m_home.stock({QStringLiteral("171"), QStringLiteral("193"), QStringLiteral("304")});
    configure(Mode::wall, {QStringLiteral("all"), QStringLiteral("off")});
    launch();
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Up, Qt::Key_Left, Qt::Key_Down})
        press(key);
    EXPECT_EQ(played().join(u' '), QStringLiteral("171 193 304 193 171"));
}

TEST_F(KeyTest, ArrowsStepEveryWall)
{
    m_home.stock({QStringLiteral("171"), QStringLiteral("193"), QStringLiteral("304")});
    configure(Mode::wall);
    launch();
    EXPECT_EQ(played().size(), 2);
    press(Qt::Key_Right);
    EXPECT_EQ(played().size(), 4);
    press(Qt::Key_Left);
    EXPECT_EQ(played().size(), 6);
}

TEST_F(KeyTest, BackIsBackOnEveryWall)
{
    m_home.stock({QStringLiteral("171"), QStringLiteral("193"), QStringLiteral("211"),
                  QStringLiteral("304"), QStringLiteral("335")});
    // Five of which two walls take turns; each is at its first.
    configure(Mode::wall, {QStringLiteral("171,193,211"), QStringLiteral("304,335")});
    launch();
    ASSERT_EQ(played(), (QStringList{QStringLiteral("171"), QStringLiteral("304")}));
    press(Qt::Key_Right);
    press(Qt::Key_Left);
    EXPECT_EQ(played().mid(4), played().mid(0, 2));
}

TEST_F(KeyTest, WallsThatWaitForADisplayLeaveThemToTheSettings)
{
    configure(Mode::wall, {QStringLiteral("off"), QStringLiteral("all")});
    launch();
    test::setOffscreenScreens({kLeft});
    m_clock.advance(500ms);
    m_app->workQueue().advance();
    ASSERT_TRUE(m_app->isShowing());
    ASSERT_TRUE(m_app->windows().empty());
    KeyCounter other;
    pressIn(other, Qt::Key_A, Qt::NoModifier);
    EXPECT_EQ(other.presses, 1);
}

TEST_F(KeyTest, ArrowsDoNothingInAKiosk)
{
    m_home.stock({QStringLiteral("171"), QStringLiteral("193")});
    configure(Mode::kiosk, {QStringLiteral("all"), QStringLiteral("off")});
    launch();
    press(Qt::Key_Right);
    press(Qt::Key_Left);
    EXPECT_EQ(played(), QStringList{QStringLiteral("171")});
}

TEST_F(KeyTest, AnyKeyEndsASaverAtOnce)
{
    configure(Mode::saver);
    launch();
    tickAfterIdle(300);
    press(Qt::Key_Shift);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen());
}

TEST_F(KeyTest, OnlyTheChordEndsAKiosk)
{
    configure(Mode::kiosk);
    launch();
    press(Qt::Key_Q, Qt::ControlModifier);
    press(Qt::Key_Escape);
    press(Qt::Key_Q, Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier | Qt::ShiftModifier);
    press(Qt::Key_Q, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_TRUE(m_app->isShowing());
    press(Qt::Key_Q, Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_TRUE(settingsOpen());
}

// A keyboard that is set to nothing but Russian or Greek has the chord where its Q would be.
TEST_F(KeyTest, TheChordEndsAKioskWithoutLatinLetters)
{
    constexpr quint32 kPlaceOfQ = 24;
    constexpr int kShortI = 0x0419; // what a Russian keyboard has there
    static constexpr auto kChord = Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier;
    configure(Mode::kiosk);
    launch();
    const auto pressed = [this](int key, quint32 place) {
        QKeyEvent event(QEvent::KeyPress, key, kChord, place, 0, 0);
        QCoreApplication::sendEvent(m_app->windows().front().get(), &event);
    };
    pressed(kShortI, kPlaceOfQ + 1);
    pressed(Qt::Key_A, kPlaceOfQ); // as a French one has it
    pressed(Qt::Key_Escape, kPlaceOfQ);
    EXPECT_TRUE(m_app->isShowing());
    pressed(kShortI, kPlaceOfQ);
    EXPECT_FALSE(m_app->isShowing());
}

TEST_F(KeyTest, TheChordStillEndsAKioskWhoseSettingsAreLost)
{
    configure(Mode::kiosk);
    launch();
    Settings::d().remove(QStringLiteral("mode"));
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_TRUE(m_app->isShowing());
    press(Qt::Key_Q, Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier);
    EXPECT_FALSE(m_app->isShowing());
}

TEST_F(KeyTest, EscapeDoesNotCloseAWall)
{
    configure(Mode::wall);
    launch();
    press(Qt::Key_Escape);
    press(Qt::Key_Space);
    EXPECT_TRUE(m_app->isShowing());
}

} // namespace
} // namespace corvella
