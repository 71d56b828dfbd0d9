#include "platform/session/FullScreenPlacement.h"

#include "platform/session/Screens.h"
#include "platform/session/WaylandGlobals.h"
#include "platform/session/XcbConnection.h"

#include <QScreen>
#include <QWindow>

namespace corvella {

namespace {

// Where nobody else has windows: a bare console.
class PlainPlacement final : public FullScreenPlacement
{
public:
    PlainPlacement(QWindow &window, PointerInput pointer)
        : m_window(window)
    {
        makeFullScreen(m_window);
        m_window.setFlag(Qt::WindowTransparentForInput, pointer == PointerInput::passedThrough);
    }

    void bringUp() override { m_window.setVisible(true); }

private:
    QWindow &m_window;
};

} // namespace

void makeFullScreen(QWindow &window)
{
    window.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window.setGeometry(frameOf(*window.screen()));
    // The state and not showFullScreen(), which would also ask for the focus.
    window.setWindowStates(Qt::WindowFullScreen);
}

std::unique_ptr<FullScreenPlacement>
FullScreenPlacement::create(QWindow &window, PointerInput pointer, KeyInput keys)
{
    if (x11::isX11Session())
        return createPlacementX11(window, pointer, keys);
    if (!wayland::isWaylandSession())
        return std::make_unique<PlainPlacement>(window, pointer);
    if (auto placement = createPlacementAboveAll(window, pointer, keys))
        return placement;
    return createPlacementWayland(window, pointer);
}

} // namespace corvella
