#include "shell/WallWindow.h"

namespace corvella {

WallWindow::WallWindow(LayerTree &tree, QScreen *screen, PointerInput input)
    : LayerWindow(tree, screen)
{
    setTitle(QStringLiteral("Corvella"));
    placeFullScreen(*this, input);
}

void WallWindow::exposeEvent(QExposeEvent *event)
{
    LayerWindow::exposeEvent(event);
    // A window manager listens only once it manages the window.
    if (isExposed() && !std::exchange(m_wasExposed, true))
        finishPlacement(*this);
}

} // namespace corvella
