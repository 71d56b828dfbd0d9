// A window that shows one layer tree and nothing else. It draws when the tree changed or an
// animation runs, and at no other time. Main thread only.
#pragma once

#include "platform/layers/DrawList.h"
#include "platform/layers/RasterRenderer.h"

#include <QTimer>
#include <QWindow>

#include <memory>
#include <optional>

class QBackingStore;
class QOpenGLContext;

namespace corvella {

class GlRenderer;
class LayerTree;

class LayerWindow : public QWindow
{
    Q_OBJECT

public:
    // Shows `tree`, which must outlive the window and whose renderer decides how it is drawn.
    // The tree takes on the window's size whenever that changes.
    explicit LayerWindow(LayerTree &tree, QScreen *screen);
    ~LayerWindow() override;

    // Makes what it draws on, before it is shown. On X11 a file descriptor comes along with that,
    // and libxcb loses one that comes among a flood of input, and the connection with it.
    void prepare();

Q_SIGNALS:
    // A picture with these changes went to the display.
    void presented(const QRegion &changed);
    // OpenGL has not come back for a while; said again with each attempt that fails.
    void openGlStaysAway();

protected:
    void exposeEvent(QExposeEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    // Between two steps of an animation: the screen's own, or 1/60 s where it tells none.
    [[nodiscard]] MediaTime frameInterval() const;
    // Draws soon, what comes meanwhile included.
    void drawChange();
    // Draws so long after it was last drawn, or earlier where that is due already.
    void scheduleDrawing(MediaTime sinceLast);
    void draw();
    void drawRaster();
    void drawGl();
    // Makes what OpenGL draws with current, anew where there is none or it was lost; false where
    // that fails now.
    [[nodiscard]] bool hasOpenGl();
    // What is wrong where there is none.
    [[nodiscard]] std::optional<QString> startOpenGl();
    void dropOpenGl();
    [[nodiscard]] QSize pixelSize() const;

    LayerTree &m_tree;
    QTimer m_drawTimer;
    MediaTime m_lastDrawn{0};
    std::optional<MediaTime> m_stepDue; // of the animation that runs
    int m_lateSteps = 0;                // one after the other
    int m_intervalsAStep = 1;           // 2 for the rest of an animation that cannot keep up

    std::unique_ptr<QBackingStore> m_store; // raster only
    RasterRenderer m_raster;
    std::unique_ptr<QOpenGLContext> m_context; // GL only
    std::unique_ptr<GlRenderer> m_gl;
    std::optional<MediaTime> m_goneSince; // while there is no OpenGL
    MediaTime m_nextAttempt{0};           // to get it back
    bool m_everythingChanged = true;
};

} // namespace corvella
