#include "platform/session/DisplaySwitch.h"
#include "platform/session/XcbConnection.h"

#include <xcb/dpms.h>

namespace corvella {

namespace {

// With display power management switched on, if need be without any time after which it would act
// by itself: the user did not have that.
void enablePowerManagement(xcb_connection_t *server)
{
    const x11::ReplyOf<xcb_dpms_info_reply_t> info(
        xcb_dpms_info_reply(server, xcb_dpms_info(server), nullptr));
    if (info && info->state)
        return;
    xcb_dpms_set_timeouts(server, 0, 0, 0);
    xcb_dpms_enable(server);
}

bool hasPowerManagement(xcb_connection_t *server)
{
    const xcb_query_extension_reply_t *const extension =
        xcb_get_extension_data(server, &xcb_dpms_id);
    if (!extension || !extension->present)
        return false;
    const x11::ReplyOf<xcb_dpms_capable_reply_t> capable(
        xcb_dpms_capable_reply(server, xcb_dpms_capable(server), nullptr));
    return capable && capable->capable;
}

class DisplaySwitchX11 final : public DisplaySwitch
{
public:
    void off() override
    {
        const x11::Connection server = x11::connectToServer();
        if (!server)
            return;
        // It blanks where nothing else can, and lockers that wait for the server's saver lock.
        xcb_force_screen_saver(server.get(), XCB_SCREEN_SAVER_ACTIVE);
        if (hasPowerManagement(server.get())) {
            enablePowerManagement(server.get());
            xcb_dpms_force_level(server.get(), XCB_DPMS_DPMS_MODE_OFF);
        }
        // All of it is done when this is answered; a connection that ends before might take it
        // along.
        const x11::ReplyOf<xcb_get_input_focus_reply_t> answer(
            xcb_get_input_focus_reply(server.get(), xcb_get_input_focus(server.get()), nullptr));
    }
};

} // namespace

std::unique_ptr<DisplaySwitch> createDisplaySwitchX11()
{
    return std::make_unique<DisplaySwitchX11>();
}

} // namespace corvella
