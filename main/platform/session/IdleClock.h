// Seconds since the last input of the login session. Main thread only; asking is cheap enough for
// four times a second.
#pragma once

#include <memory>

namespace corvella {

class IdleClock
{
public:
    virtual ~IdleClock() = default;

    // Seconds since the last key, click or movement. 0 ("never idle") where nobody tells.
    [[nodiscard]] virtual double secondsIdle() = 0;

    // The best source of this session; what cannot be had is logged once.
    [[nodiscard]] static std::unique_ptr<IdleClock> create();
};

// The X server's own count. Null where the server does not keep one.
[[nodiscard]] std::unique_ptr<IdleClock> createIdleClockX11();

} // namespace corvella
