#include "platform/session/FullScreenPlacement.h"
#include "platform/session/XcbConnection.h"

#include <xcb/shape.h>

#include <array>
#include <cstring>
#include <string_view>

namespace corvella {

namespace {

xcb_atom_t atom(xcb_connection_t *connection, std::string_view name)
{
    const auto cookie =
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data());
    const x11::ReplyOf<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void sendToRoot(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t type,
                std::array<uint32_t, 5> data)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    std::memcpy(event.data.data32, data.data(), sizeof event.data.data32);
    xcb_send_event(connection, 0, x11::rootWindow(connection),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
}

} // namespace

void placeFullScreenX11(unsigned long windowId, PointerInput input)
{
    xcb_connection_t *const server = x11::applicationConnection();
    if (!server)
        return;
    const auto window = static_cast<xcb_window_t>(windowId);
    // Added to what Qt writes there before it maps the window, and read by the manager once, then:
    // a message afterwards gets lost between the two now and then.
    const std::array states{atom(server, "_NET_WM_STATE_SKIP_TASKBAR"),
                            atom(server, "_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(server, XCB_PROP_MODE_APPEND, window, atom(server, "_NET_WM_STATE"),
                        XCB_ATOM_ATOM, 32, states.size(), states.data());
    if (input == PointerInput::passedThrough) {
        // An input shape without a single rectangle: clicks go to what lies beneath, keys still
        // come.
        xcb_shape_rectangles(server, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
    }
}

void finishPlacementX11(unsigned long windowId)
{
    xcb_connection_t *const server = x11::applicationConnection();
    if (!server)
        return;
    constexpr uint32_t kAllWorkspaces = 0xFFFFFFFF;
    constexpr uint32_t kFromPager = 2; // some managers heed only a pager here
    sendToRoot(server, static_cast<xcb_window_t>(windowId), atom(server, "_NET_WM_DESKTOP"),
               {kAllWorkspaces, kFromPager});
    xcb_flush(server);
}

} // namespace corvella
