// Puts a window over the whole of one screen: borderless, above panels, on all workspaces,
// without taking the focus. What a display server does not offer is left out.
#pragma once

class QWindow;

namespace corvella {

enum class PointerInput { accepted, passedThrough };

// Before show(): the flags and the place. The window's screen must be set.
void placeFullScreen(QWindow &window, PointerInput input);

// After show(): asks a window manager for what cannot be said before.
void keepOnAllWorkspaces(QWindow &window);

// The X11 half of keepOnAllWorkspaces; `windowId` as the server knows it.
void keepOnAllWorkspacesX11(unsigned long windowId);

} // namespace corvella
