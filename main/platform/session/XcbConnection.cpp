#include "platform/session/XcbConnection.h"

#include <QGuiApplication>

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

} // namespace corvella::x11
