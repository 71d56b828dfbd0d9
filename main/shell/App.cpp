#include "shell/App.h"

#include "Preferences/Preferences.h"
#include "cache/Cache.h"
#include "log.h"
#include "settings/Settings.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <algorithm>

namespace corvella {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kTick{250};
constexpr MediaTime kRefreshInterval = std::chrono::hours(1);
constexpr double kSettleSeconds = 1.5;  // without input, before shown saver walls react to input
constexpr double kDismissSeconds = 0.5; // input more recent than this ends a saver
constexpr MediaTime kRebuildDelay = milliseconds(500);
// Beyond this a --seconds value means "not while anybody looks".
constexpr double kLongestAutoQuit = 10 * 365.25 * 86400;

MediaTime toMediaTime(double seconds)
{
    const double bounded = std::clamp(seconds, 0.0, kLongestAutoQuit);
    return std::chrono::duration_cast<MediaTime>(std::chrono::duration<double>(bounded));
}

} // namespace

App::App(const Surroundings &surroundings)
    : m_screens(surroundings.screens)
    , m_idleClock(surroundings.idleClock)
    , m_clock(surroundings.clock)
    , m_renderer(surroundings.renderer)
    , m_workQueue(surroundings.clock)
{
    connect(&m_tick, &QTimer::timeout, this, &App::tick);
}

App::~App()
{
    App::hide();
}

void App::applicationDidFinishLaunching(const CommandLine &commandLine)
{
    Preferences::shared().setWallControls(this);
    Settings::migrate();
    Cache::seedIfEmpty();
    connect(&m_screens, &Screens::changed, this, &App::screensChanged);
    qGuiApp->installEventFilter(this);
    m_tick.start(kTick);
    if (!Settings::offline())
        refreshHourly();
    decideWhatToShow(commandLine);
}

void App::decideWhatToShow(const CommandLine &commandLine)
{
    const Mode mode = Settings::mode();
    const bool configured = Settings::configured();
    if (commandLine.forceStart || (configured && (mode == Mode::wall || mode == Mode::kiosk)))
        show();
    else if (configured && mode == Mode::desktop)
        log(QStringLiteral("desktop mode: resident, no windows"));
    else
        Preferences::shared().show();

    if (commandLine.autoQuit)
        m_autoQuit = m_workQueue.after(toMediaTime(*commandLine.autoQuit), [] { qGuiApp->quit(); });
}

void App::refreshHourly()
{
    m_background.start([] { Cache::refresh(); });
    m_nextRefresh = m_workQueue.after(kRefreshInterval, [this] { refreshHourly(); });
}

void App::applicationWillTerminate()
{
    hide();
    Cache::cancelRefreshing(); // its thread is awaited when the App goes
    Preferences::shared().setWallControls(nullptr);
    Preferences::shared().close();
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
    const Mode mode = Settings::mode();
    const QList<Screen> screens = m_screens.list();
    for (int i = 0; i < screens.size(); ++i)
        buildWall(screens[i], i, mode);
    m_builtFor = extentsOf(screens);
    m_coversAll = m_windows.size() == static_cast<size_t>(screens.size());
    // New windows have to be given the keys anew. Beside a screen in use nothing takes its focus
    // away.
    if (m_coversAll && !m_windows.empty())
        m_windows.front()->requestActivate();
}

void App::buildWall(const Screen &screen, int index, Mode mode)
{
    if (!Settings::isEnabled(index))
        return;
    const std::optional<QString> attribution =
        Settings::attribution() ? std::optional(Settings::storeHost()) : std::nullopt;
    auto view = std::make_unique<WallView>(QRectF(QPointF(0, 0), screen.frame.size()),
                                           Settings::productList(index), screen.scale, attribution,
                                           WallView::Surroundings{m_renderer, m_clock});
    const PointerInput input =
        mode == Mode::saver ? PointerInput::passedThrough : PointerInput::accepted;
    auto window = std::make_unique<WallWindow>(view->tree(), screen.screen, input);
    // Not show(), which would begin with an ordinary window.
    window->setVisible(true);
    m_walls.push_back(std::move(view));
    m_windows.push_back(std::move(window));
}

void App::takeDownWindows()
{
    for (const auto &view : m_walls)
        view->stop();
    m_windows.clear();
    m_walls.clear();
}

void App::show()
{
    const Mode mode = Settings::mode();
    if (mode == Mode::desktop)
        return;
    m_armedWaiting = false;
    Preferences::shared().hide();
    build();
    m_foundNothingToShow = m_windows.empty();
    if (m_foundNothingToShow) {
        log(QStringLiteral("every screen is Off; nothing to show"));
        Preferences::shared().show();
        return;
    }
    m_showing = true;
    m_armed = false;
    setCursor(m_coversAll);
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
    m_builtFor.clear();
    setCursor(false);
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

void App::dismiss()
{
    const Mode mode = Settings::mode();
    hide();
    if (mode != Mode::saver)
        Preferences::shared().show();
}

void App::tick()
{
    const Mode mode = Settings::mode();
    if (!m_showing)
        return showWhenIdle(mode);
    if (!m_pendingRebuild.isPending() && extentsOf(m_screens.list()) != m_builtFor)
        screensChanged(); // a change of scale comes without a signal
    if (mode != Mode::saver)
        return;
    const double idle = m_idleClock.secondsIdle();
    if (!m_armed)
        m_armed = idle >= kSettleSeconds;
    if (m_armed && idle < kDismissSeconds)
        dismiss();
}

void App::showWhenIdle(Mode mode)
{
    const bool waits = m_armedWaiting || mode == Mode::saver;
    if (!waits || Settings::idleMinutes() * 60 > m_idleClock.secondsIdle()) {
        m_foundNothingToShow = false;
        return;
    }
    // That there is nothing to show is said once, not at every tick until somebody comes.
    if (!m_foundNothingToShow || isAnyScreenOn())
        show();
}

bool App::isAnyScreenOn() const
{
    for (int i = 0; i < m_screens.list().size(); ++i) {
        if (Settings::isEnabled(i))
            return true;
    }
    return false;
}

bool App::eventFilter(QObject *watched, QEvent *event)
{
    // A press passes through the window and then its widgets; once is enough.
    if (event->type() == QEvent::KeyPress && watched->isWindowType())
        return handleKey(*static_cast<QKeyEvent *>(event));
    return QObject::eventFilter(watched, event);
}

bool App::handleKey(const QKeyEvent &event)
{
    if (!m_showing)
        return false;
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const bool isQ = event.key() == Qt::Key_Q;
    switch (Settings::mode()) {
    case Mode::saver:
        dismiss();
        return true;
    case Mode::kiosk:
        if (isQ && modifiers == (Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier))
            dismiss();
        return true;
    default:
        if (!isQ || modifiers != Qt::ControlModifier)
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

void App::setCursor(bool hidden)
{
    if (m_cursorHidden == hidden)
        return;
    m_cursorHidden = hidden;
    if (hidden)
        QGuiApplication::setOverrideCursor(Qt::BlankCursor);
    else
        QGuiApplication::restoreOverrideCursor();
}

void App::screensChanged()
{
    m_pendingRebuild = m_workQueue.after(kRebuildDelay, [this] { rebuildIfChanged(); });
}

void App::rebuildIfChanged()
{
    // A window made for another scale would be blurred: on Wayland Qt 6.4 leaves it at that scale.
    const QList<Extent> extents = extentsOf(m_screens.list());
    if (!m_showing || extents.isEmpty() || extents == m_builtFor)
        return;
    log(QStringLiteral("display layout changed (%1 -> %2)")
            .arg(m_builtFor.size())
            .arg(extents.size()));
    build();
}

} // namespace corvella
