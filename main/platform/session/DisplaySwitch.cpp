#include "platform/session/DisplaySwitch.h"

#include "platform/session/XcbConnection.h"

namespace corvella {

std::unique_ptr<DisplaySwitch> DisplaySwitch::create()
{
    if (x11::isX11Session())
        return createDisplaySwitchX11();
    if (auto kwin = createDisplaySwitchKWin())
        return kwin;
    return createDisplaySwitchWlr();
}

} // namespace corvella
