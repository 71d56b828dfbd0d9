#include "platform/session/FullScreenPlacement.h"

#include "platform/session/XcbConnection.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

namespace corvella {

void placeFullScreen(QWindow &window, PointerInput input)
{
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    if (input == PointerInput::passedThrough)
        flags |= Qt::WindowTransparentForInput;
    window.setFlags(flags);
    window.setGeometry(window.screen()->geometry());
    // The state and not showFullScreen(), which would also ask for the focus.
    window.setWindowStates(Qt::WindowFullScreen);
}

void keepOnAllWorkspaces(QWindow &window)
{
    if (x11::isX11Session())
        keepOnAllWorkspacesX11(window.winId());
}

} // namespace corvella
