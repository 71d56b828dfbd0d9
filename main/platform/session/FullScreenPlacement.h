// Puts a window over the whole of one screen: borderless, above panels, on all workspaces,
// without taking the focus. What a display server does not offer is left out.
#pragma once

class QWindow;

namespace corvella {

enum class PointerInput { accepted, passedThrough };

// The flags and the place. The window's screen must be set; bring it up with setVisible(true)
// afterwards, since QWindow::show() would make it an ordinary window again.
void placeFullScreen(QWindow &window, PointerInput input);

// Once it is up: asks the window manager for what cannot be said before.
void finishPlacement(QWindow &window);

// The X11 halves of both; `windowId` as the server knows it.
void placeFullScreenX11(unsigned long windowId, PointerInput input);
void finishPlacementX11(unsigned long windowId);

} // namespace corvella
