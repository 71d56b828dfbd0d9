// The application: decides at launch what to show, puts the walls up and takes them down, starts
// them after a time without input, ends them on input, and follows the displays. Main thread only.
#pragma once

#include "Preferences/WallControls.h"
#include "Wall/WallView.h"
#include "platform/session/DarkPreference.h"
#include "platform/session/IdleClock.h"
#include "platform/session/PowerAssertion.h"
#include "platform/session/Presentation.h"
#include "platform/session/Screens.h"
#include "platform/storage/DefaultsFile.h"
#include "platform/threads/BackgroundWork.h"
#include "platform/time/WorkQueue.h"
#include "settings/Mode.h"
#include "shell/CloseButton.h"
#include "shell/CommandLine.h"
#include "shell/Menus.h"
#include "shell/ModeBadge.h"
#include "shell/WallWindow.h"
#include "updater/Updater.h"

#include <QBasicTimer>
#include <QDateTime>
#include <QObject>

#include <functional>
#include <memory>
#include <vector>

class QKeyEvent;

namespace corvella {

class App : public QObject, public WallControls
{
    Q_OBJECT

    // What may be on the stack while it is taken down: a press on a window can be what closes it.
    struct DeleteLater
    {
        void operator()(QObject *object) const { object->deleteLater(); }
    };
    template <typename Object> using DeletedLater = std::unique_ptr<Object, DeleteLater>;

public:
    // What an App needs of the machine; all of it must outlive the App.
    struct Surroundings
    {
        Screens &screens;
        IdleClock &idleClock;
        Presentation &presentation;
        const MediaClock &clock;
        RendererKind renderer = RendererKind::raster;
        // Keeps the displays awake while its result lives; takes the reason, for people to read.
        std::function<std::unique_ptr<PowerAssertion>(const QString &)> keepAwake = {};
        // Locks and puts the displays to sleep; returns at once.
        std::function<void()> sleepDisplays = {};
        std::function<QDateTime()> now = &QDateTime::currentDateTimeUtc;
    };

    explicit App(const Surroundings &surroundings);
    ~App() override;

    // Whether a launch with this command line shows the walls at once, by the settings as they
    // stand. Needs no application.
    [[nodiscard]] static bool showsAtOnce(const CommandLine &commandLine);

    // The launch sequence; call it once, with the event loop about to run.
    void applicationDidFinishLaunching(const CommandLine &commandLine);
    // Takes the walls down in order.
    void applicationWillTerminate();
    // The user started the program once more, or clicked on its item: the settings window comes
    // forward, unless walls are up.
    void applicationShouldHandleReopen();
    // An action by its name, such as the program's desktop entry knows; an empty or unknown one
    // counts as a reopening.
    void perform(const QString &action);

    // The machine has slept, and the timers have counted none of it: does what is due by now as
    // soon as the network should be there.
    void lookAfterSleep();

    // Puts the walls up on every screen that is not Off; where no display is attached, as soon as
    // one is. Nothing happens in desktop mode.
    void show() override;
    // Takes the walls down.
    void hide() override;
    // Waits for the idle time, then shows the walls.
    void arm() override;
    // Stops waiting.
    void disarm() override;
    // Lets the walls be, though another mode is stored by now.
    void keepWalls() override;
    // For a program that is started anew to go on in the mode that is shown, though the settings
    // were lost meanwhile: a kiosk stays one.
    void storeLostMode();

    // When an update that lies ready may be installed.
    [[nodiscard]] Updater::When whenToInstall() const;

    // What happens four times a second. The timer calls it; tests do, too.
    void tick();
    // What waits for its moment by the clock that the App was given. It runs by itself; tests that
    // set the clock advance it.
    [[nodiscard]] WorkQueue &workQueue() { return m_workQueue; }

    [[nodiscard]] bool isShowing() const { return m_showing; }
    [[nodiscard]] bool isArmedWaiting() const { return m_armedWaiting; }
    [[nodiscard]] bool coversAll() const { return m_coversAll; }
    [[nodiscard]] const std::vector<DeletedLater<WallWindow>> &windows() const { return m_windows; }
    [[nodiscard]] const std::vector<DeletedLater<WallView>> &walls() const { return m_walls; }
    [[nodiscard]] const std::vector<CloseButton *> &closeButtons() const { return m_closeButtons; }
    [[nodiscard]] const std::vector<ModeBadge *> &badges() const { return m_badges; }
    [[nodiscard]] bool buttonsVisible() const { return m_buttonsVisible; }

protected:
    // The monitor of key presses that reach any window of ours.
    bool eventFilter(QObject *watched, QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    // Of a screen, what a wall is built for.
    struct Extent
    {
        QRect frame; // points
        double scale = 1;

        bool operator==(const Extent &) const = default;
    };
    [[nodiscard]] static QList<Extent> extentsOf(const QList<Screen> &screens);

    void chooseAppearance();
    void buildMenus();
    [[nodiscard]] StatusFacts statusFacts();
    void startFromMenu();
    void updateDesktopFromMenu();
    void decideWhatToShow(const CommandLine &commandLine);
    void build();
    void buildWall(const Screen &screen, int index);
    void addChrome(WallWindow &window);
    void takeDownWindows();
    void showWhenIdle();
    // Not so when a display that went took its wall along, though it came back at once.
    [[nodiscard]] bool areAllInPlace() const;
    [[nodiscard]] int screensOn() const; // those that are not Off
    // Lets the walls be those of another mode that was stored, as by a shell, while they were up.
    void followMode();
    void dismiss();
    // Draws without OpenGL from now on.
    void giveUpOpenGl();
    // True when the key is used up.
    bool handleKey(const QKeyEvent &event);
    bool handleWallKey(const QKeyEvent &event);
    void stepAll(int delta);
    void setButtons(bool visible);
    [[nodiscard]] bool isPointerOverWall() const;
    void tickSaver();
    void setCursor(bool hidden);
    // Inexact, this thread's timers may be a little late: as long as there is nothing to be seen.
    void setExactTimers(bool exact);
    void screensChanged();
    void rebuildIfChanged();
    // Refreshes the imagery in the background, now and then every hour, and the desktop pictures
    // after it.
    void refreshHourly();
    void refreshIfAnHourHasPassed();

    Screens &m_screens;
    IdleClock &m_idleClock;
    Presentation &m_presentation;
    const MediaClock &m_clock;
    RendererKind m_renderer;
    const std::function<std::unique_ptr<PowerAssertion>(const QString &)> m_keepAwake;
    const std::function<void()> m_sleepDisplays;
    const std::function<QDateTime()> m_now;
    DefaultsWatch m_settingsWatch;
    StatusFacts m_facts; // by the settings as of the watch's last word
    DarkPreference m_darkPreference;
    WorkQueue m_workQueue;
    QBasicTimer m_tick;
    BackgroundWork m_background{2}; // for what waits for the network

    std::vector<DeletedLater<WallView>> m_walls;
    std::vector<DeletedLater<WallWindow>> m_windows; // element i shows m_walls[i]
    // One a window in wall mode or in kiosk mode; the windows' layer trees own them.
    std::vector<CloseButton *> m_closeButtons;
    std::vector<ModeBadge *> m_badges;
    std::unique_ptr<PowerAssertion> m_sleepAssertion; // while walls are up that are no saver
    bool m_showing = false;
    Mode m_mode = Mode::desktop;    // of the walls, while they are up
    std::optional<Mode> m_followed; // what was stored when the walls last went by it
    MediaTime m_shownAt{0};         // of m_clock
    bool m_armed = false;           // saver walls have settled and now end on any input
    bool m_armedWaiting = false;
    bool m_foundNothingToShow = false; // by the last show(), unless there was input since
    bool m_buttonsVisible = false;     // close buttons and badges are faded in
    bool m_cursorHidden = false;
    bool m_exactTimers = true; // of the main thread
    bool m_coversAll = true;
    QList<Extent> m_builtFor; // one per screen, also for those that are Off
    // Ticks since then with each wall on its screen; enough of them once displays may have changed.
    int m_ticksInPlace = 0;
    WorkItem m_pendingRebuild;
    WorkItem m_autoQuit;
    WorkItem m_nextRefresh;
    QDateTime m_refreshedAt; // when the last of these refreshes began
    WorkItem m_pendingLook;
    std::unique_ptr<Menus> m_menus;
};

} // namespace corvella
