#include "platform/layers/LayerWindow.h"

#include "log.h"
#include "platform/layers/GlRenderer.h"
#include "platform/layers/LayerTree.h"

#include <QBackingStore>
#include <QExposeEvent>
#include <QOpenGLContext>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

constexpr double kFallbackRefreshRate = 60; // Hz
// One alone may be the machine's doing.
constexpr int kLateSteps = 2;
constexpr std::chrono::seconds kBetweenAttempts{1}; // to get OpenGL back
// A driver that comes back after the machine's sleep is back sooner.
constexpr std::chrono::seconds kPatienceWithOpenGl{15};

// The region in another unit, rounded outwards.
QRegion enlarged(const QRegion &region, double factor)
{
    QRegion enlarged;
    for (const QRect &rect : region)
        enlarged +=
            QRectF(QPointF(rect.topLeft()) * factor, QSizeF(rect.size()) * factor).toAlignedRect();
    return enlarged;
}

} // namespace

LayerWindow::LayerWindow(LayerTree &tree, QScreen *screen)
    : QWindow(screen)
    , m_tree(tree)
{
    if (tree.renderer() == RendererKind::gl)
        setSurfaceType(QSurface::OpenGLSurface);
    else
        m_store = std::make_unique<QBackingStore>(this);
    m_drawTimer.setSingleShot(true);
    m_drawTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_drawTimer, &QTimer::timeout, this, &LayerWindow::draw);
    connect(&tree, &LayerTree::needsDisplay, this, &LayerWindow::drawChange);
}

LayerWindow::~LayerWindow()
{
    dropOpenGl();
}

void LayerWindow::prepare()
{
    if (m_store && m_store->size() != size())
        m_store->resize(size());
}

void LayerWindow::exposeEvent(QExposeEvent * /*event*/)
{
    m_everythingChanged = true;
    if (isExposed())
        draw();
}

void LayerWindow::resizeEvent(QResizeEvent *event)
{
    m_tree.setSize(event->size());
    m_everythingChanged = true;
    drawChange();
}

MediaTime LayerWindow::frameInterval() const
{
    const double rate =
        screen() && screen()->refreshRate() > 1 ? screen()->refreshRate() : kFallbackRefreshRate;
    return std::chrono::duration_cast<MediaTime>(std::chrono::duration<double>(1 / rate));
}

void LayerWindow::drawChange()
{
    // A clip's picture that came between two steps of an animation would stand a quarter too short,
    // and the one before it a quarter too long, if it waited for the next step. OpenGL waits for
    // the display anyway.
    scheduleDrawing(m_store ? frameInterval() / 2 : frameInterval());
}

void LayerWindow::scheduleDrawing(MediaTime sinceLast)
{
    const MediaTime wait = std::max(m_lastDrawn + sinceLast - m_tree.now(), MediaTime(0));
    const auto rounded = std::chrono::floor<std::chrono::milliseconds>(wait);
    if (!m_drawTimer.isActive() || m_drawTimer.remainingTimeAsDuration() > rounded)
        m_drawTimer.start(rounded);
}

void LayerWindow::draw()
{
    m_tree.advance();
    if (!isExposed())
        return;
    const MediaTime now = m_tree.now();
    const bool isLate = m_stepDue && now > *m_stepDue + frameInterval() / 2;
    m_lateSteps = isLate ? m_lateSteps + 1 : 0;
    m_lastDrawn = now;
    if (m_store)
        drawRaster();
    else
        drawGl();
    m_stepDue.reset();
    if (!m_tree.isAnimating()) {
        m_intervalsAStep = 1;
        return;
    }
    // Where there is no time for every step, half of them leave the clips theirs.
    if (m_lateSteps >= kLateSteps)
        m_intervalsAStep = 2;
    const MediaTime step = m_intervalsAStep * frameInterval();
    m_stepDue = now + step;
    scheduleDrawing(step);
}

QSize LayerWindow::pixelSize() const
{
    return (QSizeF(size()) * devicePixelRatio()).toSize();
}

void LayerWindow::drawRaster()
{
    if (m_everythingChanged)
        m_raster.invalidate();
    QRegion changed = m_raster.advance(drawList(m_tree, m_tree.now()));
    if (std::exchange(m_everythingChanged, false))
        changed = QRect(QPoint(0, 0), pixelSize());
    if (changed.isEmpty())
        return;

    // The store speaks in points, and may have cleared what it is told of: where those are not
    // whole pixels, a little more is drawn.
    const double ratio = devicePixelRatio();
    const QRegion inPoints = enlarged(changed, 1 / ratio);
    changed = enlarged(inPoints, ratio) & QRect(QPoint(0, 0), pixelSize());
    prepare();
    m_store->beginPaint(inPoints);
    if (QPaintDevice *device = m_store->paintDevice();
        device && device->devType() == QInternal::Image) {
        auto &image = static_cast<QImage &>(*device);
        // The same pixels without the store's own scaling: the list is in pixels already.
        QImage pixels(image.bits(), image.width(), image.height(), image.bytesPerLine(),
                      image.format());
        m_raster.paint(pixels, changed);
    }
    m_store->endPaint();
    m_store->flush(inPoints);
    Q_EMIT presented(changed);
}

void LayerWindow::drawGl()
{
    if (!hasOpenGl())
        return scheduleDrawing(kBetweenAttempts); // also where nothing else is to be drawn
    m_gl->paint(drawList(m_tree, m_tree.now()), pixelSize());
    m_context->swapBuffers(this);
    Q_EMIT presented(QRect(QPoint(0, 0), pixelSize()));
}

bool LayerWindow::hasOpenGl()
{
    if (m_gl && m_context->makeCurrent(this))
        return true;
    if (m_goneSince && m_tree.now() < m_nextAttempt)
        return false;
    dropOpenGl();
    const std::optional<QString> failure = startOpenGl();
    if (!failure) {
        m_goneSince.reset();
        return true;
    }
    if (!m_goneSince) {
        m_goneSince = m_tree.now();
        log(QStringLiteral("renderer: no OpenGL for this window (%1); trying again").arg(*failure));
    }
    m_nextAttempt = m_tree.now() + kBetweenAttempts;
    if (m_tree.now() >= *m_goneSince + kPatienceWithOpenGl)
        Q_EMIT openGlStaysAway();
    return false;
}

std::optional<QString> LayerWindow::startOpenGl()
{
    m_context = std::make_unique<QOpenGLContext>();
    m_context->setFormat(requestedFormat());
    if (!m_context->create() || !m_context->makeCurrent(this))
        return QStringLiteral("no context");
    m_gl = std::make_unique<GlRenderer>();
    std::optional<QString> failure = m_gl->initialise();
    if (failure)
        m_gl.reset();
    return failure;
}

void LayerWindow::dropOpenGl()
{
    if (m_gl && !m_context->makeCurrent(this))
        m_gl->abandon();
    m_gl.reset();
    m_context.reset();
}

} // namespace corvella
