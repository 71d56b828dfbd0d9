// The screen-saver module: plays what is in the cache in the window that a screen-saver host gives
// it, one process per screen, until it is told to leave. It reads the user's settings and imagery
// and changes neither.
#include "Wall/OnScreen.h"
#include "Wall/WallView.h"
#include "cache/Cache.h"
#include "log.h"
#include "platform/layers/LayerWindow.h"
#include "platform/layers/RendererKind.h"
#include "platform/session/HostWindow.h"
#include "platform/session/LostDisplay.h"
#include "platform/session/Screens.h"
#include "platform/session/TerminationSignals.h"
#include "platform/storage/FileLock.h"
#include "platform/storage/StandardFolders.h"
#include "platform/time/MediaClock.h"
#include "platform/video/ClipMemory.h"
#include "saver/SaverTarget.h"
#include "settings/Settings.h"

#include <QDir>
#include <QGuiApplication>
#include <QStandardPaths>

#include <cstdlib>

using namespace corvella;

namespace {

constexpr QSize kOwnWindow(960, 600); // points

struct Place
{
    int screen = 0; // which of the screens, for its products
    double scale = 1;
};

// The screen that most likely is meant: the one with the middle of the frame, else the first.
Place placeOf(const QRect &frame, const QList<Screen> &screens)
{
    for (int i = 0; i < screens.size(); ++i) {
        // On X11 a screen's corner is in pixels whatever its scale.
        const QSize pixels = (QSizeF(screens[i].frame.size()) * screens[i].scale).toSize();
        if (QRect(screens[i].frame.topLeft(), pixels).contains(frame.center()))
            return {i, screens[i].scale};
    }
    return {0, screens.isEmpty() ? 1 : screens.first().scale};
}

// A screen that is Off stays black.
class SaverView
{
public:
    SaverView(QSize pixels, const Place &place, const MediaClock &clock)
        : m_black(QSizeF(pixels) / place.scale, place.scale, RendererKind::raster, clock)
    {
        m_black.root().setBackground(Qt::black);
        if (!Settings::isEnabled(place.screen))
            return;
        const std::optional<QString> attribution =
            Settings::attribution() ? std::optional(Settings::storeHost()) : std::nullopt;
        m_view.emplace(QRectF(QPointF(0, 0), m_black.size()), Settings::productList(place.screen),
                       place.scale, attribution, WallView::Surroundings{rendererKind(), clock});
    }

    [[nodiscard]] LayerTree &tree() { return m_view ? m_view->tree() : m_black; }

private:
    LayerTree m_black;
    std::optional<WallView> m_view;
};

// The processes of one saver begin one after the other, so that each sees what those before it
// chose.
std::unique_ptr<SaverView> chooseInTurn(QSize pixels, const Place &place, const MediaClock &clock)
{
    std::optional<FileLock> turn;
    // Some hosts tell their savers nothing of the session: Qt has a folder of the user's then.
    const std::optional<QString> told = StandardFolders::runtime();
    const QString runtime =
        told ? *told : QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (!runtime.isEmpty()) {
        const QString folder = QDir(runtime).filePath(QStringLiteral("corvella-saver"));
        OnScreen::shareIn(folder);
        turn = FileLock::acquire(QDir(folder).filePath(QStringLiteral("turn")));
    }
    return std::make_unique<SaverView>(pixels, place, clock);
}

} // namespace

int main(int argc, char **argv)
{
    keepTheHeapSmall();
    outliveFailedWrites();
    // Hosts are X11 programs, whatever else is running.
    qputenv("QT_QPA_PLATFORM", "xcb");
    QCoreApplication::setAttribute(Qt::AA_DisableSessionManager);
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Corvella"));
    Cache::setReadOnly(true);

    const SaverTarget target = SaverTarget::choose(QCoreApplication::arguments().mid(1),
                                                   qEnvironmentVariable("XSCREENSAVER_WINDOW"));
    std::unique_ptr<HostWindow> host;
    if (target.kind != SaverTarget::Kind::ownWindow) {
        host = target.kind == SaverTarget::Kind::root ? HostWindow::root()
                                                      : HostWindow::find(target.window);
        if (!host) {
            log(QStringLiteral("saver: there is no window 0x%1").arg(target.window, 0, 16));
            return EXIT_FAILURE;
        }
        QObject::connect(host.get(), &HostWindow::gone, &app, &QGuiApplication::quit);
    }
    const TerminationSignals signals;
    QObject::connect(&signals, &TerminationSignals::received, &app, &QGuiApplication::quit);

    const SteadyMediaClock clock;
    const QRect frame = host ? host->frame() : QRect(QPoint(0, 0), kOwnWindow);
    const std::unique_ptr<SaverView> view =
        chooseInTurn(frame.size(), placeOf(frame, Screens().list()), clock);
    LayerWindow window(view->tree(), nullptr);
    window.setTitle(QStringLiteral("Corvella"));
    if (host) {
        host->embed(window);
    } else {
        window.resize(kOwnWindow);
        window.show();
    }
    const LostDisplay lostDisplay;
    return QGuiApplication::exec();
}
