#include "shell/App.h"

#include "Preferences/Preferences.h"
#include "Preferences/SaverInstall.h"
#include "cache/Cache.h"
#include "cache/RefreshRules.h"
#include "desktop/Desktop.h"
#include "log.h"
#include "platform/layers/Transaction.h"
#include "platform/session/Pointer.h"
#include "platform/time/TimerSlack.h"
#include "settings/Settings.h"
#include "shell/Appearance.h"
#include "updater/Updater.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QTimerEvent>
#include <QWindow>

#include <algorithm>

namespace corvella {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kTick{250};
// What timers may be late while nothing is to be seen: the machine then wakes less often.
constexpr milliseconds kSlackAtRest{50};
// Walls that a window manager has somewhere else from the start are left there.
constexpr int kTicksUntilSettled = 4;
constexpr std::chrono::hours kRefreshInterval{1};
// From the end of a machine's sleep: a wireless network takes five to ten seconds to come back, and
// who looks too early finds nobody and looks again in an hour.
constexpr MediaTime kUntilTheNetworkIsBack = std::chrono::seconds(15);
constexpr double kSettleSeconds = 1.5;     // without input, before shown saver walls react to input
constexpr double kDismissSeconds = 0.5;    // input more recent than this ends a saver
constexpr double kButtonFadeSeconds = 2.5; // buttons stay while the last input is more recent
constexpr MediaTime kButtonsFadeIn = milliseconds(150);
constexpr MediaTime kButtonsFadeOut = milliseconds(800);
constexpr double kChromeSide = 64;   // points
constexpr double kChromeMargin = 28; // points, to the top and to the right
constexpr MediaTime kRebuildDelay = milliseconds(500);
// At the end, for pictures that are just being put back.
constexpr milliseconds kPatienceWithDesktop{3000};
// Beyond this a --seconds value means "not while anybody looks".
constexpr double kLongestAutoQuit = 10 * 365.25 * 86400;

MediaTime toMediaTime(double seconds)
{
    const double bounded = std::clamp(seconds, 0.0, kLongestAutoQuit);
    return std::chrono::duration_cast<MediaTime>(std::chrono::duration<double>(bounded));
}

QRectF topRightCorner(QSizeF wall)
{
    constexpr double kFromCorner = kChromeMargin + kChromeSide;
    return {wall.width() - kFromCorner, wall.height() - kFromCorner, kChromeSide, kChromeSide};
}

// Q by its letter; by its place on a keyboard that has no Latin letters.
bool isQ(const QKeyEvent &event)
{
    constexpr int kLastLatin1 = 0xff;
    constexpr quint32 kPlaceOfQ = 24; // as X11 and Wayland number keys
    const bool isOtherLetter = event.key() > kLastLatin1 && event.key() < Qt::Key_Escape;
    return event.key() == Qt::Key_Q || (isOtherLetter && event.nativeScanCode() == kPlaceOfQ);
}

bool isAnythingToBeSeen()
{
    const QWindowList windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [](const QWindow *window) { return window->isVisible(); });
}

// Set by the first wall: how to close it is not said again.
const QString kWallHintShown = QStringLiteral("wallHintShown");

} // namespace

App::App(const Surroundings &surroundings)
    : m_screens(surroundings.screens)
    , m_idleClock(surroundings.idleClock)
    , m_presentation(surroundings.presentation)
    , m_clock(surroundings.clock)
    , m_renderer(surroundings.renderer)
    , m_keepAwake(surroundings.keepAwake)
    , m_sleepDisplays(surroundings.sleepDisplays)
    , m_now(surroundings.now)
    , m_settingsWatch(Settings::d().watch())
    , m_workQueue(surroundings.clock)
{
}

App::~App()
{
    App::hide();
    setExactTimers(true);
    // The windows show what is on this App's clock: none of them outlives it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void App::applicationDidFinishLaunching(const CommandLine &commandLine)
{
    Preferences::shared().setWallControls(this);
    connect(&m_darkPreference, &DarkPreference::changed, this, &App::chooseAppearance);
    chooseAppearance();
    Settings::migrate();
    refreshInstalledSaver();
    Cache::seedIfEmpty();
    buildMenus();
    connect(&m_screens, &Screens::changed, this, &App::screensChanged);
    // Whatever may have come of it, a wall that is elsewhere from now on was taken there.
    connect(&m_screens, &Screens::mayHaveChanged, this,
            [this] { m_ticksInPlace = kTicksUntilSettled; });
    qGuiApp->installEventFilter(this);
    setExactTimers(isAnythingToBeSeen());
    m_tick.start(int(kTick.count()), Qt::CoarseTimer, this);
    if (!Settings::desktopActive())
        Desktop::restore(); // the program may have ended before they were back
    if (Settings::offline())
        Desktop::apply();
    else
        refreshHourly();
    Updater::shared().when = [app = QPointer(this)] {
        return app ? app->whenToInstall() : Updater::When::onQuit;
    };
    Updater::shared().start();
    decideWhatToShow(commandLine);
}

void App::chooseAppearance()
{
    const QString text = Settings::d().string(QStringLiteral("appearance")).value_or(QString());
    if (const std::optional<Appearance> appearance = appearanceFromText(text))
        setAppearance(*appearance);
    else if (m_darkPreference.isDark())
        setAppearance(Appearance::dark);
    else
        resetAppearance();
}

void App::buildMenus()
{
    const auto weakly = [this](void (App::*verb)()) {
        return [app = QPointer(this), verb] {
            if (app)
                (app->*verb)();
        };
    };
    MenuActions actions;
    actions.start = weakly(&App::startFromMenu);
    actions.updateDesktop = weakly(&App::updateDesktopFromMenu);
    actions.showPreferences = [] { Preferences::shared().show(); };
    actions.checkForUpdates = [] { Updater::shared().checkNow(); };
    actions.quit = [] { QCoreApplication::quit(); };
    m_menus = std::make_unique<Menus>(actions, [this] { return statusFacts(); });
    m_menus->buildMenu();
    m_menus->buildStatusItem(weakly(&App::applicationShouldHandleReopen));
}

StatusFacts App::statusFacts()
{
    // Asked for four times a second for months: values are made anew only when that may be needed.
    if (m_settingsWatch.mayHaveChanged())
        m_facts = {.mode = Settings::mode(),
                   .isOffline = Settings::offline(),
                   .isDesktopActive = Settings::desktopActive(),
                   .idleMinutes = Settings::idleMinutes(),
                   .refreshMinutes = Settings::refreshMinutes()};
    m_facts.isShowing = m_showing;
    m_facts.isArmedWaiting = m_armedWaiting;
    return m_facts;
}

void App::startFromMenu()
{
    if (Settings::mode() == Mode::desktop)
        updateDesktopFromMenu();
    else
        show();
}

void App::updateDesktopFromMenu()
{
    m_background.start([this] {
        const std::optional<QDateTime> refused =
            Settings::offline() ? std::nullopt : Cache::refreshNow(false);
        if (refused)
            log(QStringLiteral("update: checked recently, next check allowed at ")
                + refused->toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000")));
        m_background.tell(&Desktop::apply);
    });
}

void App::applicationShouldHandleReopen()
{
    // Walls that wait for their display are none to whoever asks; a kiosk stays closed all the
    // same.
    if (!m_showing || (m_windows.empty() && m_mode != Mode::kiosk))
        Preferences::shared().show();
}

void App::perform(const QString &action)
{
    if (action == u"start" && !m_showing)
        startFromMenu();
    else if (action == u"arm")
        arm();
    else if (action == u"update-desktop")
        updateDesktopFromMenu();
    else if (action == u"quit")
        QCoreApplication::quit();
    else
        applicationShouldHandleReopen();
}

bool App::showsAtOnce(const CommandLine &commandLine)
{
    if (!commandLine.action.isEmpty() || commandLine.quiet)
        return false;
    const Mode mode = Settings::mode();
    return commandLine.forceStart
        || (Settings::configured() && (mode == Mode::wall || mode == Mode::kiosk));
}

void App::decideWhatToShow(const CommandLine &commandLine)
{
    // Who asks for one thing does not want another.
    if (!commandLine.action.isEmpty())
        perform(commandLine.action);
    else if (commandLine.quiet)
        log(QStringLiteral("resident, no windows"));
    else if (showsAtOnce(commandLine))
        show();
    else if (Settings::configured() && Settings::mode() == Mode::desktop)
        log(QStringLiteral("desktop mode: resident, no windows"));
    else
        Preferences::shared().show();

    if (commandLine.autoQuit)
        m_autoQuit = m_workQueue.after(toMediaTime(*commandLine.autoQuit), [] { qGuiApp->quit(); });
}

void App::refreshHourly()
{
    m_refreshedAt = m_now();
    // This App awaits its background before it goes, and with it goes what it was still to do.
    m_background.start([this] {
        Cache::refresh();
        m_background.tell(&Desktop::apply);
    });
    m_nextRefresh = m_workQueue.after(kRefreshInterval, [this] { refreshHourly(); });
}

void App::lookAfterSleep()
{
    m_pendingLook = m_workQueue.after(kUntilTheNetworkIsBack, [this] {
        refreshIfAnHourHasPassed();
        Updater::shared().lookAfterSleep();
    });
}

void App::refreshIfAnHourHasPassed()
{
    if (!m_nextRefresh.isPending())
        return;
    const QDateTime now = m_now();
    if (Cache::isDue(m_refreshedAt, kRefreshInterval, now)
        || Cache::isFromAnotherTime(m_refreshedAt, kRefreshInterval, now))
        refreshHourly();
}

Updater::When App::whenToInstall() const
{
    if (Settings::d().boolean(QStringLiteral("installUpdatesNow")).value_or(false))
        return Updater::When::now;
    switch (Settings::mode()) {
    case Mode::kiosk:
        return Updater::When::overnight;
    case Mode::wall:
    case Mode::saver:
        return Updater::When::onQuit;
    case Mode::desktop:
        break;
    }
    return m_showing || Preferences::shared().isVisible() ? Updater::When::onQuit
                                                          : Updater::When::now;
}

void App::applicationWillTerminate()
{
    hide();
    Updater::shared().applicationWillTerminate();
    Cache::cancelRefreshing(); // its thread is awaited when the App goes
    Desktop::finish(kPatienceWithDesktop);
    Preferences::shared().setWallControls(nullptr);
    Preferences::shared().close();
    m_menus.reset();
}

QList<App::Extent> App::extentsOf(const QList<Screen> &screens)
{
    QList<Extent> extents;
    for (const Screen &screen : screens)
        extents << Extent{screen.frame, screen.scale};
    return extents;
}

void App::build()
{
    takeDownWindows();
    setExactTimers(true); // what the players start takes its timers after ours
    const QList<Screen> screens = m_screens.list();
    for (int i = 0; i < screens.size(); ++i)
        buildWall(screens[i], i);
    m_builtFor = extentsOf(screens);
    m_ticksInPlace = 0;
    m_coversAll = m_windows.size() == static_cast<size_t>(screens.size());
    if (!m_coversAll)
        setCursor(false); // whoever is at the other screen needs it
    if (m_mode == Mode::wall && !m_windows.empty())
        Settings::d().setBoolean(kWallHintShown, true);
    // New windows have to be given the keys anew. Beside a screen in use nothing takes its focus
    // away.
    if (m_coversAll && !m_windows.empty())
        m_windows.front()->requestActivate();
    QList<QWindow *> walls;
    for (const auto &window : m_windows)
        walls << window.get();
    m_presentation.setWalls(walls);
}

void App::buildWall(const Screen &screen, int index)
{
    if (!Settings::isEnabled(index))
        return;
    const std::optional<QString> attribution =
        Settings::attribution() ? std::optional(Settings::storeHost()) : std::nullopt;
    DeletedLater<WallView> view(
        new WallView(QRectF(QPointF(0, 0), screen.frame.size()), Settings::productList(index),
                     screen.scale, attribution, WallView::Surroundings{m_renderer, m_clock}));
    const PointerInput pointer =
        m_mode == Mode::saver ? PointerInput::passedThrough : PointerInput::accepted;
    const KeyInput keys = m_mode == Mode::kiosk || screensOn() == m_screens.list().size()
        ? KeyInput::atOnce
        : KeyInput::whenChosen;
    DeletedLater<WallWindow> window(new WallWindow(view->tree(), screen.screen, pointer, keys));
    connect(window.get(), &LayerWindow::openGlStaysAway, this, &App::giveUpOpenGl,
            Qt::QueuedConnection);
    addChrome(*window);
    window->bringUp();
    m_walls.push_back(std::move(view));
    m_windows.push_back(std::move(window));
}

void App::giveUpOpenGl()
{
    if (std::exchange(m_renderer, RendererKind::raster) == RendererKind::raster)
        return;
    log(QStringLiteral("renderer: raster (OpenGL stays away)"));
    if (m_showing)
        build();
}

void App::addChrome(WallWindow &window)
{
    const double opacity = m_buttonsVisible ? 1 : 0;
    if (m_mode == Mode::kiosk) {
        ModeBadge *const badge = window.addChrome(
            std::make_unique<ModeBadge>(topRightCorner(window.size()), QStringLiteral("lock.fill"),
                                        QStringLiteral("Kiosk mode, locked")),
            topRightCorner);
        badge->setOpacity(opacity);
        m_badges.push_back(badge);
    } else if (m_mode == Mode::wall) {
        CloseButton *const button =
            window.addChrome(std::make_unique<CloseButton>(), topRightCorner);
        button->setOpacity(opacity);
        button->onClick = [app = QPointer(this)] {
            if (app)
                app->dismiss();
        };
        m_closeButtons.push_back(button);
        if (!Settings::d().boolean(kWallHintShown).value_or(false))
            window.showHint(QStringLiteral("Move the mouse to reveal the close button"));
    }
}

void App::takeDownWindows()
{
    m_closeButtons.clear();
    m_badges.clear();
    for (const auto &view : m_walls)
        view->stop();
    m_presentation.setWalls({});
    for (const auto &window : m_windows)
        window->setVisible(false);
    // In this order: a window shows its view's layers to its end.
    m_windows.clear();
    m_walls.clear();
}

void App::show()
{
    const Mode mode = Settings::mode();
    if (mode == Mode::desktop)
        return;
    if (mode != m_mode)
        hide(); // what went with walls of another mode goes with them
    m_mode = mode;
    keepWalls();
    m_armedWaiting = false;
    Preferences::shared().hide();
    build();
    // Where no display is attached, the walls wait for one.
    m_foundNothingToShow = m_windows.empty() && !m_builtFor.isEmpty();
    if (m_foundNothingToShow) {
        log(QStringLiteral("every screen is Off; nothing to show"));
        Preferences::shared().show();
        return;
    }
    m_showing = true;
    m_shownAt = m_clock.now();
    m_armed = false;
    setCursor(m_coversAll);
    if (mode == Mode::kiosk)
        m_presentation.setState(Presentation::State::locked);
    else if (m_coversAll)
        m_presentation.setState(Presentation::State::immersive);
    if (mode != Mode::saver && m_keepAwake)
        m_sleepAssertion = m_keepAwake(QStringLiteral("Corvella is displaying"));
    log(QStringLiteral("showing on %1 of %2 display(s), mode %3")
            .arg(m_windows.size())
            .arg(m_builtFor.size())
            .arg(rawValue(mode)));
}

void App::hide()
{
    if (!std::exchange(m_showing, false))
        return;
    takeDownWindows();
    m_buttonsVisible = false;
    m_builtFor.clear();
    setCursor(false);
    m_presentation.setState(Presentation::State::ordinary);
    m_sleepAssertion.reset();
}

void App::arm()
{
    if (m_showing)
        return;
    Preferences::shared().hide();
    const Mode mode = Settings::mode();
    if (mode == Mode::desktop) {
        log(QStringLiteral("armed: desktop keeps the picture current"));
        return;
    }
    m_armedWaiting = true;
    log(QStringLiteral("armed: waiting for %1 min idle, then %2")
            .arg(static_cast<qint64>(Settings::idleMinutes()))
            .arg(rawValue(mode)));
}

void App::disarm()
{
    if (std::exchange(m_armedWaiting, false))
        log(QStringLiteral("disarmed"));
}

void App::keepWalls()
{
    m_followed = Settings::storedMode();
}

void App::storeLostMode()
{
    if (m_showing && !Settings::storedMode())
        Settings::setMode(m_mode);
}

void App::dismiss()
{
    hide();
    if (m_mode != Mode::saver)
        Preferences::shared().show();
    else if (Settings::lockOnDismiss() && m_sleepDisplays)
        m_sleepDisplays();
}

void App::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_tick.timerId())
        tick();
    else
        QObject::timerEvent(event);
}

void App::tick()
{
    // One that was started offline begins to look for imagery when it may.
    if (!statusFacts().isOffline && !m_nextRefresh.isPending())
        refreshHourly();
    followMode();
    if (m_menus)
        m_menus->update();
    if (!m_showing)
        return showWhenIdle();
    // A change of scale comes without a signal, and so does a display that was away so briefly that
    // only the window manager noticed, which took its wall elsewhere.
    const bool areInPlace = areAllInPlace();
    m_ticksInPlace += areInPlace ? 1 : 0;
    const bool wereTakenAway = !areInPlace && m_ticksInPlace >= kTicksUntilSettled;
    if (!m_pendingRebuild.isPending()
        && (wereTakenAway || extentsOf(m_screens.list()) != m_builtFor))
        screensChanged();
    switch (m_mode) {
    case Mode::wall:
        return setButtons(m_idleClock.secondsIdle() < kButtonFadeSeconds && isPointerOverWall());
    case Mode::kiosk:
        return setButtons(m_idleClock.secondsIdle() < kButtonFadeSeconds);
    case Mode::saver:
        return tickSaver();
    case Mode::desktop:
        return;
    }
}

void App::followMode()
{
    if (!m_showing)
        return;
    // Where no mode is stored nobody has chosen one: a kiosk whose settings were damaged stays
    // locked.
    const std::optional<Mode> mode = Settings::storedMode();
    if (!mode || mode == m_followed)
        return;
    m_followed = mode;
    if (mode == m_mode)
        return;
    log(QStringLiteral("mode changed (%1 -> %2)").arg(rawValue(m_mode), rawValue(*mode)));
    hide();
    if (mode == Mode::wall || mode == Mode::kiosk)
        show(); // as at launch; a saver waits for its time
}

bool App::isPointerOverWall() const
{
    return m_coversAll || std::any_of(m_windows.begin(), m_windows.end(), [](const auto &window) {
               return window->isUnderPointer();
           });
}

void App::tickSaver()
{
    const double idle = m_idleClock.secondsIdle();
    // Nobody's absence before the walls came up counts: a nudge at their very start is no wish.
    const std::chrono::duration<double> shown = m_clock.now() - m_shownAt;
    if (!m_armed)
        m_armed = std::min(idle, shown.count()) >= kSettleSeconds;
    if (m_armed && idle < kDismissSeconds)
        dismiss();
}

void App::showWhenIdle()
{
    const bool waits = m_armedWaiting || m_facts.mode == Mode::saver;
    if (!waits || !m_idleClock.isIdleFor(m_facts.idleMinutes * 60)) {
        m_foundNothingToShow = false;
        return;
    }
    // That there is nothing to show is said once, not at every tick until somebody comes.
    if (!m_foundNothingToShow || screensOn() > 0)
        show();
}

int App::screensOn() const
{
    int count = 0;
    for (int i = 0; i < m_screens.list().size(); ++i)
        count += Settings::isEnabled(i) ? 1 : 0;
    return count;
}

bool App::eventFilter(QObject *watched, QEvent *event)
{
    if (watched->isWindowType() && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        setExactTimers(isAnythingToBeSeen());
    // A press passes through the window and then its widgets; once is enough.
    if (event->type() == QEvent::KeyPress && watched->isWindowType())
        return handleKey(*static_cast<QKeyEvent *>(event));
    return QObject::eventFilter(watched, event);
}

bool App::handleKey(const QKeyEvent &event)
{
    // Walls that wait for their display take no keys from who is at the settings.
    if (!m_showing || (m_windows.empty() && m_mode != Mode::kiosk))
        return false;
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    switch (m_mode) {
    case Mode::saver:
        dismiss();
        return true;
    case Mode::kiosk:
        if (isQ(event) && modifiers == (Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier))
            dismiss();
        return true;
    default:
        if (!isQ(event) || modifiers != Qt::ControlModifier)
            return handleWallKey(event);
        qGuiApp->quit();
        return true;
    }
}

bool App::handleWallKey(const QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        stepAll(-1);
        break;
    case Qt::Key_Right:
    case Qt::Key_Up:
        stepAll(+1);
        break;
    default:
        break;
    }
    return true;
}

void App::stepAll(int delta)
{
    for (const auto &view : m_walls)
        view->step(delta);
}

void App::setButtons(bool visible)
{
    if (std::exchange(m_buttonsVisible, visible) == visible)
        return;
    // A pointer that can close the wall is shown with the button that does it.
    setCursor(m_coversAll && (!visible || m_mode == Mode::kiosk));
    for (size_t i = 0; i < m_windows.size(); ++i) {
        const Transaction fade(m_walls[i]->tree(), visible ? kButtonsFadeIn : kButtonsFadeOut);
        for (Chrome *chrome : m_windows[i]->chrome())
            chrome->setOpacity(visible ? 1 : 0);
    }
}

void App::setCursor(bool hidden)
{
    if (std::exchange(m_cursorHidden, hidden) != hidden)
        setPointerHidden(hidden);
}

void App::setExactTimers(bool exact)
{
    if (std::exchange(m_exactTimers, exact) != exact)
        setTimerSlack(exact ? milliseconds(0) : kSlackAtRest);
}

void App::screensChanged()
{
    m_pendingRebuild = m_workQueue.after(kRebuildDelay, [this] {
        rebuildIfChanged();
        Desktop::followScreens();
    });
}

bool App::areAllInPlace() const
{
    return std::all_of(m_windows.begin(), m_windows.end(),
                       [](const auto &window) { return window->isInPlace(); });
}

void App::rebuildIfChanged()
{
    // A window made for another scale would be blurred: on Wayland Qt 6.4 leaves it at that scale.
    const QList<Extent> extents = extentsOf(m_screens.list());
    if (!m_showing || extents.isEmpty() || (extents == m_builtFor && areAllInPlace()))
        return;
    log(QStringLiteral("display layout changed (%1 -> %2)")
            .arg(m_builtFor.size())
            .arg(extents.size()));
    build();
}

} // namespace corvella
