#include "platform/session/IdleClock.h"

#include "log.h"
#include "platform/session/InputHere.h"
#include "platform/session/WaylandGlobals.h"
#include "platform/session/XcbConnection.h"

namespace corvella {

namespace {

class NeverIdle final : public IdleClock
{
public:
    double secondsIdle() override { return m_input.seconds(); }
    bool isIdleFor(double /*seconds*/) override { return false; }

private:
    InputHere m_input;
};

} // namespace

std::unique_ptr<IdleClock> IdleClock::create()
{
    std::unique_ptr<IdleClock> clock;
    if (x11::isX11Session())
        clock = createIdleClockX11();
    // Never the X server in a Wayland session: it counts only the input of X programs.
    if (wayland::isWaylandSession())
        clock = createIdleClockWayland();
    if (!clock)
        clock = createIdleClockAlone();
    if (!clock)
        clock = createIdleClockMutter();
    if (clock)
        return clock;
    log(QStringLiteral("idle time: this session does not tell it; nothing starts by itself"));
    return std::make_unique<NeverIdle>();
}

} // namespace corvella
