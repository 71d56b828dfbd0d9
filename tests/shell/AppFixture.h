// An App on two screens that are not there, with idle time and clock set by the test. The right
// screen has two pixels a point.
#pragma once

#include "Preferences/Preferences.h"
#include "settings/Settings.h"
#include "shell/App.h"
#include "support/CapturedLog.h"
#include "support/ManualMediaClock.h"
#include "support/OffscreenScreens.h"
#include "support/StockedHome.h"

#include <gtest/gtest.h>

namespace corvella::test {

class FakeIdleClock final : public IdleClock
{
public:
    double secondsIdle() override { return seconds; }
    double seconds = 0;
};

class RecordedPresentation final : public Presentation
{
public:
    void setState(State newState) override { state = newState; }
    void setWalls(const QList<QWindow *> &newWalls) override { walls = newWalls; }
    State state = State::ordinary;
    QList<QWindow *> walls;
};

inline const OffscreenScreen kLeft{QStringLiteral("Left"), {0, 0, 1280, 720}};
inline const OffscreenScreen kRight{QStringLiteral("Right"), {1280, 0, 800, 600}, 2};

class AppFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        m_home.clear();
        setOffscreenScreens({kLeft, kRight});
        Settings::setOffline(true);
        m_log.emplace();
        m_app.emplace(surroundings());
    }

    void TearDown() override
    {
        m_app.reset();
        Preferences::shared().setWallControls(nullptr);
        Preferences::shared().close();
        m_log.reset();
    }

    virtual App::Surroundings surroundings()
    {
        return {m_screens, m_idleClock, m_presentation, m_clock, RendererKind::raster};
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

    QStringList logged(const QString &part) { return m_log->messages().filter(part); }

    static bool settingsOpen() { return Preferences::shared().isVisible(); }

    const StockedHome &m_home = StockedHome::shared();
    Screens m_screens;
    FakeIdleClock m_idleClock;
    RecordedPresentation m_presentation;
    ManualMediaClock m_clock;
    std::optional<CapturedLog> m_log;
    std::optional<App> m_app;
};

} // namespace corvella::test
