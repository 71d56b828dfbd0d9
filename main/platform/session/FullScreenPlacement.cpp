#include "platform/session/FullScreenPlacement.h"

#include "platform/session/Screens.h"
#include "platform/session/XcbConnection.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

namespace corvella {

void placeFullScreen(QWindow &window, PointerInput input)
{
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    // On X11 this flag would keep the keys away, too; there the window's shape does it.
    if (input == PointerInput::passedThrough && !x11::isX11Session())
        flags |= Qt::WindowTransparentForInput;
    window.setFlags(flags);
    window.setGeometry(frameOf(*window.screen()));
    // The state and not showFullScreen(), which would also ask for the focus.
    window.setWindowStates(Qt::WindowFullScreen);
    if (x11::isX11Session())
        placeFullScreenX11(window.winId(), input);
}

void finishPlacement(QWindow &window)
{
    if (x11::isX11Session())
        finishPlacementX11(window.winId());
}

} // namespace corvella
