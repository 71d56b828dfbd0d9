#include "platform/session/XcbConnection.h"

#include <QGuiApplication>

#include <cstring>

namespace corvella::x11 {

bool isX11Session()
{
    return QGuiApplication::platformName() == QLatin1String("xcb")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

Connection connectToServer()
{
    Connection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()))
        return nullptr;
    return connection;
}

Connection connectToServerWith(xcb_extension_t &extension)
{
    Connection connection = connectToServer();
    const xcb_query_extension_reply_t *offered =
        connection ? xcb_get_extension_data(connection.get(), &extension) : nullptr;
    return offered && offered->present ? std::move(connection) : nullptr;
}

xcb_connection_t *applicationConnection()
{
    const auto *application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return application ? application->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t *connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

std::optional<int> firstEventOf(xcb_connection_t *connection, std::string_view extension)
{
    const auto cookie =
        xcb_query_extension(connection, static_cast<uint16_t>(extension.size()), extension.data());
    const ReplyOf<xcb_query_extension_reply_t> reply(
        xcb_query_extension_reply(connection, cookie, nullptr));
    return reply && reply->present ? std::optional<int>(reply->first_event) : std::nullopt;
}

xcb_atom_t atom(xcb_connection_t *connection, std::string_view name)
{
    const auto cookie =
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.data());
    const ReplyOf<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void askManager(xcb_connection_t *connection, xcb_window_t window, std::string_view type,
                const std::array<uint32_t, 5> &data)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(connection, type);
    std::memcpy(event.data.data32, data.data(), sizeof event.data.data32);
    xcb_send_event(connection, 0, rootWindow(connection),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
    xcb_flush(connection);
}

} // namespace corvella::x11
