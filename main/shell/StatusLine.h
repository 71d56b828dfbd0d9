// What the status menu says of the program at a moment. Pure functions; any thread.
#pragma once

#include "settings/Mode.h"

#include <QString>

namespace corvella {

struct StatusFacts
{
    Mode mode = Mode::desktop;
    bool isShowing = false;
    bool isArmedWaiting = false;
    bool isOffline = false;
    bool isDesktopActive = true;
    double idleMinutes = 0;
    double refreshMinutes = 0;

    bool operator==(const StatusFacts &) const = default;
};

// What it is doing, in one line.
[[nodiscard]] QString statusLine(const StatusFacts &facts);

// The title of the entry that starts the mode.
[[nodiscard]] QString startTitle(Mode mode);

} // namespace corvella
