// When the application keeps the displays awake, and when it puts them to sleep.
#include "Preferences/Preferences.h"
#include "settings/Settings.h"
#include "shell/App.h"
#include "support/CapturedLog.h"
#include "support/ManualMediaClock.h"
#include "support/OffscreenScreens.h"
#include "support/StockedHome.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

class FakeIdleClock final : public IdleClock
{
public:
    double secondsIdle() override { return seconds; }
    double seconds = 0;
};

class CountedAssertion final : public PowerAssertion
{
public:
    explicit CountedAssertion(int &held)
        : m_held(held)
    {
        ++m_held;
    }
    ~CountedAssertion() override { --m_held; }

private:
    int &m_held;
};

class AppPower : public testing::Test
{
protected:
    void SetUp() override
    {
        m_home.clear();
        test::setOffscreenScreens({{u"Only"_s, {0, 0, 1280, 720}}});
        Settings::setOffline(true);
        Settings::setConfigured(true);
        Settings::setProducts({u"all"_s});
        const auto keepAwake = [this](const QString &reason) {
            m_reason = reason;
            return std::make_unique<CountedAssertion>(m_held);
        };
        m_app.emplace(App::Surroundings{m_screens, m_idleClock, m_clock, RendererKind::raster,
                                        keepAwake, [this] { ++m_sleeps; }});
    }

    void TearDown() override
    {
        m_app.reset();
        Preferences::shared().setWallControls(nullptr);
        Preferences::shared().hide();
    }

    void launch(Mode mode)
    {
        Settings::setMode(mode);
        m_app->applicationDidFinishLaunching(CommandLine::parse({}));
    }

    void showSaver()
    {
        launch(Mode::saver);
        m_app->show();
        ASSERT_TRUE(m_app->isShowing());
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QGuiApplication::sendEvent(m_app->windows().front().get(), &event);
    }

    const test::StockedHome &m_home = test::StockedHome::shared();
    test::CapturedLog m_log;
    Screens m_screens;
    FakeIdleClock m_idleClock;
    test::ManualMediaClock m_clock;
    int m_held = 0;
    int m_sleeps = 0;
    QString m_reason;
    std::optional<App> m_app;
};

TEST_F(AppPower, AWallKeepsTheDisplaysAwakeUntilItIsHidden)
{
    launch(Mode::wall);
    EXPECT_EQ(m_held, 1);
    EXPECT_EQ(m_reason, u"Corvella is displaying"_s);
    m_app->hide();
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, AKioskKeepsTheDisplaysAwakeUntilItsChord)
{
    launch(Mode::kiosk);
    EXPECT_EQ(m_held, 1);
    press(Qt::Key_Q, Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_EQ(m_held, 0);
    EXPECT_EQ(m_sleeps, 0);
}

TEST_F(AppPower, ASaverLetsTheDisplaysSleep)
{
    showSaver();
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, NoWallKeepsNothingAwake)
{
    Settings::setProducts({u"off"_s});
    launch(Mode::wall);
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, WallsShownTwiceAreHiddenOnce)
{
    launch(Mode::wall);
    m_app->show();
    m_app->hide();
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, TerminationLetsTheDisplaysSleep)
{
    launch(Mode::wall);
    m_app->applicationWillTerminate();
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, ADismissedSaverPutsTheDisplaysToSleepWhenItIsToLock)
{
    Settings::setLockOnDismiss(true);
    showSaver();
    EXPECT_EQ(m_sleeps, 0);
    press(Qt::Key_Space);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_EQ(m_sleeps, 1);
}

TEST_F(AppPower, ADismissedSaverLeavesTheDisplaysOnWhenItIsNotToLock)
{
    Settings::setLockOnDismiss(false);
    showSaver();
    press(Qt::Key_Space);
    EXPECT_FALSE(m_app->isShowing());
    EXPECT_EQ(m_sleeps, 0);
}

TEST_F(AppPower, ASaverThatIsOnlyHiddenLeavesTheDisplaysOn)
{
    Settings::setLockOnDismiss(true);
    showSaver();
    m_app->hide();
    EXPECT_EQ(m_sleeps, 0);
}

} // namespace
} // namespace corvella
