// Switches the displays off by the display server's own means. Main thread only.
#pragma once

#include <memory>

namespace corvella {

class DisplaySwitch
{
public:
    DisplaySwitch() = default;
    virtual ~DisplaySwitch() = default;
    DisplaySwitch(const DisplaySwitch &) = delete;
    DisplaySwitch &operator=(const DisplaySwitch &) = delete;

    // All of them, until the next input. Returns at once.
    virtual void off() = 0;

    // Null where the display server offers nothing of the kind.
    [[nodiscard]] static std::unique_ptr<DisplaySwitch> create();
};

// By display power management, where there is some, and the server's own saver. Null without an X
// server.
[[nodiscard]] std::unique_ptr<DisplaySwitch> createDisplaySwitchX11();
// KWin, which wakes them by itself.
[[nodiscard]] std::unique_ptr<DisplaySwitch> createDisplaySwitchKWin();
// sway and the like, which leave the waking to whoever switched off.
[[nodiscard]] std::unique_ptr<DisplaySwitch> createDisplaySwitchWlr();

} // namespace corvella
