// What turning Corvella off means, in words. A pure function; any thread.
#pragma once

#include <QString>

namespace corvella {

struct TurnOffFacts
{
    bool restoresDesktop = false; // pictures of ours are shown, and the user's are remembered
    bool opensAtLogin = false;
    bool carriesSaver = false;
};

[[nodiscard]] QString turnOffText(const TurnOffFacts &facts);

} // namespace corvella
