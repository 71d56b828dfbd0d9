#include "support/X11Tray.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace corvella::test {

namespace {

constexpr uint32_t kRequestDock = 0; // of the protocol's messages

struct Free
{
    void operator()(void *reply) const { std::free(reply); }
};

} // namespace

void X11Tray::Disconnect::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

X11Tray::X11Tray(const QString &display)
    : m_connection(xcb_connect(display.toLatin1().constData(), nullptr))
{
    xcb_connection_t *const server = m_connection.get();
    const xcb_screen_t *const screen = xcb_setup_roots_iterator(xcb_get_setup(server)).data;
    m_window = xcb_generate_id(server);
    xcb_create_window(server, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0, 48, 48, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(server, m_window);
    const quint32 selection = atom("_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(server, m_window, selection, XCB_CURRENT_TIME);
    // It tells everybody that it is there.
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = screen->root;
    event.type = atom("MANAGER");
    event.data.data32[1] = selection;
    event.data.data32[2] = m_window;
    xcb_send_event(server, 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
    xcb_flush(server);
    EXPECT_FALSE(xcb_connection_has_error(server));
}

X11Tray::~X11Tray() = default;

quint32 X11Tray::atom(const char *name) const
{
    xcb_connection_t *const server = m_connection.get();
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(
        server, xcb_intern_atom(server, 0, static_cast<uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : 0;
}

std::optional<quint32> X11Tray::docked()
{
    const quint32 opcode = atom("_NET_SYSTEM_TRAY_OPCODE");
    while (const std::unique_ptr<xcb_generic_event_t, Free> event{
        xcb_poll_for_event(m_connection.get())}) {
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            continue;
        const auto &message = reinterpret_cast<const xcb_client_message_event_t &>(*event);
        if (message.type == opcode && message.data.data32[1] == kRequestDock)
            m_docked = message.data.data32[2];
    }
    return m_docked;
}

} // namespace corvella::test
