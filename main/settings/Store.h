// The one store of the program's settings, for each of its processes. Any thread.
#pragma once

#include "platform/storage/UserDefaults.h"

namespace corvella::Settings {

// While the settings cannot be read nobody knows what was chosen: perhaps that the machine must not
// reach the network, and its imagery was brought there by hand. What the old suite had was copied
// long ago, and is not copied over it once more.
inline UserDefaults openStore()
{
    return UserDefaults(QStringLiteral("space.tarrow.corvella"),
                        {{QStringLiteral("offline"), true}, {QStringLiteral("migrated"), true}});
}

} // namespace corvella::Settings
