// Seconds since the last input of the login session. Main thread only; asking is cheap enough for
// four times a second.
#pragma once

#include <cstdint>
#include <memory>

namespace corvella {

class IdleClock
{
public:
    virtual ~IdleClock() = default;

    // Seconds since the last key, click or movement; where nobody tells, since the last that came
    // to this program.
    [[nodiscard]] virtual double secondsIdle() = 0;
    // Whether it was so many seconds ago or more; never where nobody tells. Costs nothing as long
    // as that cannot be.
    [[nodiscard]] virtual bool isIdleFor(double seconds) { return secondsIdle() >= seconds; }

    // The best source of this session; what cannot be had is logged once.
    [[nodiscard]] static std::unique_ptr<IdleClock> create();
};

// The seconds that an X server means, whose count begins anew after 2^32 ms, 49.7 days. `expected`
// is what it would be if nobody had come since the last answer; infinite before the first.
[[nodiscard]] double secondsIdleOfServer(uint32_t milliseconds, double expected);
// The X server's own count. Null where the server does not keep one.
[[nodiscard]] std::unique_ptr<IdleClock> createIdleClockX11();
// What a Wayland compositor tells by protocol. Counts from a second on; below it is 0. Null where
// the compositor does not tell.
[[nodiscard]] std::unique_ptr<IdleClock> createIdleClockWayland();
// What GNOME's compositor tells over the session bus, a moment late; a line in the log says that it
// does not tell. Null where there is no session bus.
[[nodiscard]] std::unique_ptr<IdleClock> createIdleClockMutter();

// What reaches this program, counted from its start: where no desktop is, all input does. Null
// where one is.
[[nodiscard]] std::unique_ptr<IdleClock> createIdleClockAlone();

} // namespace corvella
