// What the settings window says and allows in each mode, and what choosing a mode does. Pure
// functions; any thread.
#pragma once

#include "settings/Mode.h"

#include <QString>

namespace corvella {

struct ModeRules
{
    QString startTitle;
    QString armTooltip;
    QString armNote;
    QString lockNote;   // empty: nothing to say
    QString presetNote; // empty: nothing to say
    // What can be changed.
    bool idleTime = false;
    bool lock = false;
    bool playback = false; // order, loops and transition
    bool desktopNow = false;
    // The desktop picture is kept current whatever its own setting says.
    bool desktopAlways = false;

    bool operator==(const ModeRules &) const = default;
};

// `desktop` is the setting that keeps the desktop picture current in other modes, too.
[[nodiscard]] ModeRules modeRules(Mode mode, double idleMinutes, bool desktop);

// What choosing a mode does beside storing it.
struct ModeChange
{
    bool startsDesktop = false; // walls go; pictures are remembered and brought up to date
    bool restoresDesktop = false;
    bool savesOffline = false;   // as it was before the kiosk
    bool turnsKioskOn = false;   // offline, web address and login; imagery is downloaded
    bool turnsKioskBack = false; // offline as saved; the web address as by default

    bool operator==(const ModeChange &) const = default;
};

[[nodiscard]] ModeChange modeChange(Mode old, Mode chosen, bool desktop);

} // namespace corvella
