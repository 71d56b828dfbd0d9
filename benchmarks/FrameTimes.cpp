// How evenly a wall's pictures reach the display, and whether any of them is black.
//
//   frame-times SECONDS LOOPS CLIP...
//
// Plays the clips as products on a full-screen wall of the X server, each LOOPS times, handing over
// by cuts. After each picture that was presented it asks the server for the pixel in the middle of
// the screen. XDG_CONFIG_HOME and XDG_CACHE_HOME must point to empty folders.
#include "Wall/WallView.h"
#include "cache/Cache.h"
#include "platform/layers/LayerWindow.h"
#include "platform/session/FullScreenPlacement.h"
#include "platform/session/XcbConnection.h"
#include "settings/Settings.h"

#include <QDir>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace corvella;

namespace {

constexpr double kNominalInterval =
    1 / (30.0 * WallView::kRate); // s; the clips have 30 frames a second

// Lists the clips as the cache's products.
void fillCache(const QStringList &clips)
{
    QList<QJsonObject> entries;
    for (const QString &clip : clips) {
        const QString name = QStringLiteral("%1.mp4").arg(entries.size());
        QFile::copy(clip, QDir(Cache::dir()).filePath(name));
        entries << QJsonObject{{QStringLiteral("id"), QString::number(entries.size())},
                               {QStringLiteral("video"), name},
                               {QStringLiteral("updated"), QString()}};
    }
    Cache::write(entries);
}

// The brightest channel of the pixel in the middle of the screen, as the server has it.
int middleBrightness(xcb_connection_t *server, QSize screen)
{
    const auto cookie = xcb_get_image(server, XCB_IMAGE_FORMAT_Z_PIXMAP, x11::rootWindow(server),
                                      static_cast<int16_t>(screen.width() / 2),
                                      static_cast<int16_t>(screen.height() / 2), 1, 1, ~0U);
    const x11::ReplyOf<xcb_get_image_reply_t> image(xcb_get_image_reply(server, cookie, nullptr));
    if (!image)
        return 0;
    const uint8_t *pixel = xcb_get_image_data(image.get());
    return std::max({pixel[0], pixel[1], pixel[2]});
}

double seconds(MediaTime time)
{
    return std::chrono::duration<double>(time).count();
}

void report(std::vector<double> intervals, int black)
{
    std::sort(intervals.begin(), intervals.end());
    const size_t count = intervals.size();
    if (count == 0)
        return;
    const auto late = std::count_if(intervals.begin(), intervals.end(), [](double interval) {
        return interval > 1.5 * kNominalInterval;
    });
    std::printf(
        "pictures %zu  median %.3f  99%% %.3f  longest %.3f intervals  over 1.5: %td  black: %d\n",
        count, intervals[count / 2] / kNominalInterval,
        intervals[count * 99 / 100] / kNominalInterval, intervals.back() / kNominalInterval, late,
        black);
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList args = QGuiApplication::arguments();
    if (args.size() < 4) {
        std::fputs("usage: frame-times SECONDS LOOPS CLIP...\n", stderr);
        return 2;
    }
    fillCache(args.mid(3));
    Settings::setTransition(Transition::blink);
    Settings::setLoops(args[2].toInt());

    const SteadyMediaClock clock;
    const QSize size = QGuiApplication::primaryScreen()->size();
    WallView view({QPointF(0, 0), size}, {}, 1, std::nullopt, {RendererKind::raster, clock});
    LayerWindow window(view.tree(), QGuiApplication::primaryScreen());
    const auto placement =
        FullScreenPlacement::create(window, PointerInput::accepted, KeyInput::atOnce);

    const x11::Connection server = x11::connectToServer();
    std::vector<double> intervals;
    MediaTime last{0};
    int black = 0;
    const MediaTime settled =
        clock.now() + std::chrono::seconds(2); // the first fade from black is over
    const QRect middle(size.width() / 2, size.height() / 2, 1, 1);
    QObject::connect(&window, &LayerWindow::presented, &window, [&](const QRegion &changed) {
        if (clock.now() < settled || !changed.contains(middle))
            return; // the caption's fade is no new picture
        if (last.count() > 0)
            intervals.push_back(seconds(clock.now() - last));
        last = clock.now();
        black += middleBrightness(server.get(), size) < 24 ? 1 : 0;
    });
    placement->bringUp();
    QTimer::singleShot(std::chrono::seconds(args[1].toInt()), &application, &QGuiApplication::quit);
    QGuiApplication::exec();
    report(std::move(intervals), black);
    return 0;
}
