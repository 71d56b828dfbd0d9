#include "shell/App.h"

#include "Preferences/Preferences.h"
#include "cache/Cache.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/EventLoop.h"
#include "support/ManualMediaClock.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>

#include <gtest/gtest.h>

namespace corvella {
namespace {

class FakeIdleClock final : public IdleClock
{
public:
    double secondsIdle() override { return seconds; }
    double seconds = 0;
};

// Two screens: 1280 x 720, and 800 x 600 points at two pixels a point.
class AppTest : public testing::Test
{
protected:
    static const test::TemporaryHome &home()
    {
        static const test::TemporaryHome theHome;
        return theHome;
    }

    void SetUp() override
    {
        QFile::remove(home().config(QStringLiteral("space.tarrow.corvella.json")));
        Settings::setOffline(true);
        m_log.emplace();
        m_app.emplace(App::Surroundings{m_screens, m_idleClock, m_clock, RendererKind::raster});
    }

    void TearDown() override
    {
        m_app.reset();
        Preferences::shared().setWallControls(nullptr);
        Preferences::shared().hide();
        m_log.reset();
    }

    void configure(Mode mode, const QStringList &products = {QStringLiteral("all")})
    {
        Settings::setMode(mode);
        Settings::setProducts(products);
        Settings::setConfigured(true);
    }

    void launch(const QStringList &args = {})
    {
        m_app->applicationDidFinishLaunching(CommandLine::parse(args));
    }

    void tickAfterIdle(double seconds)
    {
        m_idleClock.seconds = seconds;
        m_app->tick();
    }

    bool logged(const char *message) { return m_log->contains(QString::fromUtf8(message)); }

    static bool settingsOpen() { return Preferences::shared().isVisible(); }

    Screens m_screens;
    FakeIdleClock m_idleClock;
    test::ManualMediaClock m_clock;
    std::optional<test::CapturedLog> m_log;
    std::optional<App> m_app;
};

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
    tickAfterIdle(0.1); // the mouse is still moving
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

TEST_F(AppTest, ArmingInDesktopModeOnlySaysSo)
{
    configure(Mode::desktop);
    launch();
    m_app->arm();
    EXPECT_FALSE(m_app->isArmedWaiting());
    EXPECT_TRUE(logged("armed: desktop keeps the picture current"));
}

TEST_F(AppTest, ArmingWhileShowingDoesNothing)
{
    configure(Mode::wall);
    launch();
    m_app->arm();
    EXPECT_FALSE(m_app->isArmedWaiting());
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
    App app({m_screens, m_idleClock, clock, RendererKind::raster});
    // quit() asks for the loop's end through an event, which a test can see without a loop of its
    // own.
    bool asked = false;
    QObject::connect(qGuiApp, &QCoreApplication::aboutToQuit, &app, [&] { asked = true; });
    app.applicationDidFinishLaunching(
        CommandLine::parse({QStringLiteral("--seconds"), QStringLiteral("-1")}));
    QCoreApplication::exec();
    EXPECT_TRUE(asked);
}

class KeyTest : public AppTest
{
protected:
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(m_app->windows().front().get(), &event);
    }
};

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
