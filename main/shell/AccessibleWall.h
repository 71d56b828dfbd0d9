// What a screen reader is told of a wall: a window, and the chrome that lies in it. Main thread
// only.
#pragma once

class QAccessibleInterface;

namespace corvella {

class WallWindow;

// Owned by Qt, for as long as the window lives.
[[nodiscard]] QAccessibleInterface *accessibleWall(const WallWindow &window);

} // namespace corvella
