// The application: decides at launch what to show, puts the walls up and takes them down, starts
// them after a time without input, ends them on input, and follows the displays. Main thread only.
#pragma once

#include "Preferences/WallControls.h"
#include "Wall/WallView.h"
#include "platform/session/IdleClock.h"
#include "platform/session/Screens.h"
#include "platform/time/WorkQueue.h"
#include "settings/Mode.h"
#include "shell/CommandLine.h"
#include "shell/WallWindow.h"

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <memory>
#include <vector>

class QKeyEvent;

namespace corvella {

class App : public QObject, public WallControls
{
    Q_OBJECT

public:
    // What an App needs of the machine; all of it must outlive the App.
    struct Surroundings
    {
        Screens &screens;
        IdleClock &idleClock;
        const MediaClock &clock;
        RendererKind renderer = RendererKind::raster;
    };

    explicit App(const Surroundings &surroundings);
    ~App() override;

    // The launch sequence; call it once, with the event loop about to run.
    void applicationDidFinishLaunching(const CommandLine &commandLine);
    // Takes the walls down in order.
    void applicationWillTerminate();

    // Puts the walls up on every screen that is not Off. Nothing happens in desktop mode.
    void show() override;
    // Takes the walls down.
    void hide() override;
    // Waits for the idle time, then shows the walls.
    void arm() override;
    // Stops waiting.
    void disarm() override;

    // What happens four times a second. The timer calls it; tests do, too.
    void tick();
    // What waits for its moment by the clock that the App was given. It runs by itself; tests that
    // set the clock advance it.
    [[nodiscard]] WorkQueue &workQueue() { return m_workQueue; }

    [[nodiscard]] bool isShowing() const { return m_showing; }
    [[nodiscard]] bool isArmedWaiting() const { return m_armedWaiting; }
    [[nodiscard]] bool coversAll() const { return m_coversAll; }
    [[nodiscard]] const std::vector<std::unique_ptr<WallWindow>> &windows() const
    {
        return m_windows;
    }

protected:
    // The monitor of key presses that reach any window of ours.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // Of a screen, what a wall is built for.
    struct Extent
    {
        QRect frame; // points
        double scale = 1;

        bool operator==(const Extent &) const = default;
    };
    [[nodiscard]] static QList<Extent> extentsOf(const QList<Screen> &screens);

    void decideWhatToShow(const CommandLine &commandLine);
    void build();
    void buildWall(const Screen &screen, int index, Mode mode);
    void takeDownWindows();
    void showWhenIdle(Mode mode);
    [[nodiscard]] bool isAnyScreenOn() const;
    void dismiss();
    // True when the key is used up.
    bool handleKey(const QKeyEvent &event);
    bool handleWallKey(const QKeyEvent &event);
    void stepAll(int delta);
    void setCursor(bool hidden);
    void screensChanged();
    void rebuildIfChanged();
    // Refreshes the imagery in the background, now and then every hour.
    void refreshHourly();

    Screens &m_screens;
    IdleClock &m_idleClock;
    const MediaClock &m_clock;
    const RendererKind m_renderer;
    WorkQueue m_workQueue;
    QTimer m_tick;
    QThreadPool m_background; // for what waits for the network

    // Windows go before the views whose layers they show.
    std::vector<std::unique_ptr<WallView>> m_walls;
    std::vector<std::unique_ptr<WallWindow>> m_windows; // element i shows m_walls[i]
    bool m_showing = false;
    bool m_armed = false; // saver walls have settled and now end on any input
    bool m_armedWaiting = false;
    bool m_foundNothingToShow = false; // by the last show(), unless there was input since
    bool m_cursorHidden = false;
    bool m_coversAll = true;
    QList<Extent> m_builtFor; // one per screen, also for those that are Off
    WorkItem m_pendingRebuild;
    WorkItem m_autoQuit;
    WorkItem m_nextRefresh;
};

} // namespace corvella
