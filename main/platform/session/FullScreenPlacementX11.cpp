#include "platform/session/FullScreenPlacement.h"
#include "platform/session/XcbConnection.h"

#include <QWindow>

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

class PlacementX11 final : public FullScreenPlacement
{
public:
    PlacementX11(QWindow &window, PointerInput pointer, xcb_connection_t *server)
        : m_window(window)
        , m_server(server)
    {
        makeFullScreen(m_window);
        keepOffTaskbars();
        makeBlack();
        if (pointer == PointerInput::passedThrough)
            passPointerThrough();
    }

    void bringUp() override { m_window.setVisible(true); }

    void finish() override
    {
        constexpr uint32_t kAllWorkspaces = 0xFFFFFFFF;
        constexpr uint32_t kFromPager = 2; // some managers heed only a pager here
        sendToRoot(m_server, id(), atom(m_server, "_NET_WM_DESKTOP"), {kAllWorkspaces, kFromPager});
        xcb_flush(m_server);
    }

private:
    void keepOffTaskbars()
    {
        // Added to what Qt writes there before it maps the window, and read by the manager once,
        // then: a message afterwards gets lost between the two now and then.
        const std::array states{atom(m_server, "_NET_WM_STATE_SKIP_TASKBAR"),
                                atom(m_server, "_NET_WM_STATE_SKIP_PAGER")};
        xcb_change_property(m_server, XCB_PROP_MODE_APPEND, id(), atom(m_server, "_NET_WM_STATE"),
                            XCB_ATOM_ATOM, 32, states.size(), states.data());
    }

    // Where the window's points do not make up its last column or row of pixels, nobody draws.
    void makeBlack()
    {
        constexpr uint32_t kBlack = 0;
        xcb_change_window_attributes(m_server, id(), XCB_CW_BACK_PIXEL, &kBlack);
    }

    void passPointerThrough()
    {
        // An input shape without a single rectangle: clicks go to what lies beneath, keys still
        // come.
        xcb_shape_rectangles(m_server, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, id(), 0, 0, 0, nullptr);
    }

    [[nodiscard]] xcb_window_t id() const { return static_cast<xcb_window_t>(m_window.winId()); }

    QWindow &m_window;
    xcb_connection_t *const m_server; // Qt's
};

} // namespace

std::unique_ptr<FullScreenPlacement> createPlacementX11(QWindow &window, PointerInput pointer)
{
    return std::make_unique<PlacementX11>(window, pointer, x11::applicationConnection());
}

} // namespace corvella
