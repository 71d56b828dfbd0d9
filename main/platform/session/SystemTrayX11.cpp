#include "platform/session/SystemTrayX11.h"

namespace corvella {

std::unique_ptr<SystemTrayX11> SystemTrayX11::create()
{
    x11::Connection connection = x11::connectToServer();
    if (!connection)
        return nullptr;
    return std::unique_ptr<SystemTrayX11>(new SystemTrayX11(std::move(connection)));
}

SystemTrayX11::SystemTrayX11(x11::Connection connection)
    : m_connection(std::move(connection))
    , m_notifier(xcb_get_file_descriptor(m_connection.get()), QSocketNotifier::Read)
    , m_selection(x11::atom(m_connection.get(), "_NET_SYSTEM_TRAY_S0"))
{
    // A tray that comes tells the root window of itself.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.get(), x11::rootWindow(m_connection.get()),
                                 XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection.get());
    connect(&m_notifier, &QSocketNotifier::activated, this, &SystemTrayX11::takeEvents);
}

bool SystemTrayX11::isThere() const
{
    xcb_connection_t *const server = m_connection.get();
    const x11::ReplyOf<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        server, xcb_get_selection_owner(server, m_selection), nullptr));
    return reply && reply->owner != XCB_NONE;
}

void SystemTrayX11::takeEvents()
{
    bool isNews = false;
    while (const x11::ReplyOf<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.get())})
        isNews = isNews || (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE;
    if (xcb_connection_has_error(m_connection.get()))
        m_notifier.setEnabled(false);
    else if (isNews)
        Q_EMIT changed();
}

} // namespace corvella
