// When the application keeps the displays awake, and when it puts them to sleep.
#include "shell/AppFixture.h"

#include <QGuiApplication>
#include <QKeyEvent>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

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

class AppPower : public test::AppFixture
{
protected:
    App::Surroundings surroundings() override
    {
        App::Surroundings surroundings = AppFixture::surroundings();
        surroundings.keepAwake = [this](const QString &reason) {
            m_reason = reason;
            return std::make_unique<CountedAssertion>(m_held);
        };
        surroundings.sleepDisplays = [this] { ++m_sleeps; };
        return surroundings;
    }

    void launch(Mode mode)
    {
        configure(mode);
        AppFixture::launch();
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

    int m_held = 0;
    int m_sleeps = 0;
    QString m_reason;
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
    configure(Mode::wall, {u"off"_s});
    AppFixture::launch();
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, WallsShownTwiceAreHiddenOnce)
{
    launch(Mode::wall);
    m_app->show();
    m_app->hide();
    EXPECT_EQ(m_held, 0);
}

TEST_F(AppPower, AWallThatAShellMakesASaverLetsTheDisplaysSleep)
{
    launch(Mode::wall);
    Settings::setMode(Mode::saver);
    tickAfterIdle(0);
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
