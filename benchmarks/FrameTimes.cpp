// How evenly a wall's pictures reach the display, and whether any of them is black.
//
//   frame-times SECONDS LOOPS STYLE CLIP...
//
// Plays the clips as products on a full-screen wall of the X server, each LOOPS times, handing over
// in that style ("blink", "circle"). After each picture that was presented it asks the server for
// the pixel in the middle of the screen. XDG_CONFIG_HOME and XDG_CACHE_HOME must point to empty
// folders.
#include "Wall/WallView.h"
#include "cache/Cache.h"
#include "platform/layers/LayerWindow.h"
#include "platform/layers/PlayerLayer.h"
#include "platform/layers/ShapeLayer.h"
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

// Whether a hand-over runs: a clip is masked or half transparent.
bool isHandingOver(WallView &view)
{
    const auto &layers = view.tree().root().sublayers();
    return std::any_of(layers.begin(), layers.end(), [&view](const auto &layer) {
        const double opacity = layer->presentedOpacity(view.tree().now());
        return dynamic_cast<const PlayerLayer *>(layer.get())
            && (layer->mask() || (opacity > 0 && opacity < 1));
    });
}

// How smoothly hand-overs run: pictures from one to the next while one of them runs.
class HandOverRate
{
public:
    void presented(MediaTime now, bool isHandingOver)
    {
        if (isHandingOver && m_last) {
            m_time += now - *m_last;
            m_longest = std::max(m_longest, now - *m_last);
            ++m_pictures;
        }
        m_last = isHandingOver ? std::optional(now) : std::nullopt;
    }

    void report() const
    {
        if (m_pictures > 0)
            std::printf("  handing over: %.1f pictures a second, the longest for %.1f ms\n",
                        m_pictures / seconds(m_time), seconds(m_longest) * 1000);
    }

private:
    std::optional<MediaTime> m_last;
    MediaTime m_time{0};
    MediaTime m_longest{0};
    int m_pictures = 0;
};

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
    if (args.size() < 5) {
        std::fputs("usage: frame-times SECONDS LOOPS STYLE CLIP...\n", stderr);
        return 2;
    }
    fillCache(args.mid(4));
    Settings::d().setString(QStringLiteral("transition"), args[3]);
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
    HandOverRate handOvers;
    const QRect middle(size.width() / 2, size.height() / 2, 1, 1);
    QObject::connect(&window, &LayerWindow::presented, &window, [&](const QRegion &changed) {
        if (clock.now() < settled)
            return;
        handOvers.presented(clock.now(), isHandingOver(view));
        if (!changed.contains(middle))
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
    handOvers.report();
    return 0;
}
