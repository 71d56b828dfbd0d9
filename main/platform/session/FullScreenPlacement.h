// Puts a window over the whole of one screen: borderless, above panels, on all workspaces, without
// taking the focus from a screen in use. What a display server does not offer is left out. Main
// thread only.
#pragma once

#include <memory>

class QWindow;

namespace corvella {

enum class PointerInput { accepted, passedThrough };

// Whether the keys go to the window as soon as it is up, or when somebody chooses it.
enum class KeyInput { atOnce, whenChosen };

// A single pixel in a corner is for a window that is there for the keys.
enum class Coverage { wholeScreen, onePixel };

class FullScreenPlacement
{
public:
    FullScreenPlacement() = default;
    // Before its window.
    virtual ~FullScreenPlacement() = default;
    FullScreenPlacement(const FullScreenPlacement &) = delete;
    FullScreenPlacement &operator=(const FullScreenPlacement &) = delete;

    // Shows the window, at once or when the display server has made room for it. QWindow::show()
    // would make it an ordinary one.
    virtual void bringUp() = 0;

    // To be told when the window is exposed for the first time: asks for what cannot be said
    // before.
    virtual void finish() {}

    // Sets the window's flags and its place. Its screen must be set; it must not be up.
    [[nodiscard]] static std::unique_ptr<FullScreenPlacement>
    create(QWindow &window, PointerInput pointer, KeyInput keys);
};

// By hints to the window manager.
[[nodiscard]] std::unique_ptr<FullScreenPlacement>
createPlacementX11(QWindow &window, PointerInput pointer, KeyInput keys);
// Above all windows, where the compositor has a place for such surfaces; else null.
[[nodiscard]] std::unique_ptr<FullScreenPlacement>
createPlacementAboveAll(QWindow &window, PointerInput pointer, KeyInput keys,
                        Coverage coverage = Coverage::wholeScreen);
// As any window that fills its screen.
[[nodiscard]] std::unique_ptr<FullScreenPlacement> createPlacementWayland(QWindow &window,
                                                                          PointerInput pointer);

// What is the same for every window that Qt itself makes full-screen.
void makeFullScreen(QWindow &window);

} // namespace corvella
