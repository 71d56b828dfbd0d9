#include "platform/session/HostWindow.h"

#include "platform/session/XcbConnection.h"

#include <QWindow>

namespace corvella {

namespace {

constexpr int kSentByClient = 0x80; // a bit of an event's type

} // namespace

void HostWindow::Disconnect::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

std::unique_ptr<HostWindow> HostWindow::find(quint32 id)
{
    Connection connection(x11::connectToServer().release());
    if (!connection)
        return nullptr;
    std::unique_ptr<HostWindow> host(new HostWindow(std::move(connection), id));
    const std::optional<QRect> frame = host->ask();
    if (!frame)
        return nullptr;
    host->m_frame = *frame;
    return host;
}

std::unique_ptr<HostWindow> HostWindow::root()
{
    const x11::Connection connection = x11::connectToServer();
    return connection ? find(x11::rootWindow(connection.get())) : nullptr;
}

HostWindow::HostWindow(Connection connection, quint32 id)
    : m_connection(std::move(connection))
    , m_id(id)
    , m_notifier(xcb_get_file_descriptor(m_connection.get()), QSocketNotifier::Read)
{
    const quint32 mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.get(), m_id, XCB_CW_EVENT_MASK, &mask);
    connect(&m_notifier, &QSocketNotifier::activated, this, &HostWindow::takeEvents);
}

HostWindow::~HostWindow() = default;

std::optional<QRect> HostWindow::ask() const
{
    xcb_connection_t *const server = m_connection.get();
    const auto geometryAsked = xcb_get_geometry(server, m_id);
    const auto placeAsked = xcb_translate_coordinates(server, m_id, x11::rootWindow(server), 0, 0);
    const x11::ReplyOf<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(server, geometryAsked, nullptr));
    const x11::ReplyOf<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(server, placeAsked, nullptr));
    if (!geometry || !place)
        return std::nullopt;
    return QRect(place->dst_x, place->dst_y, geometry->width, geometry->height);
}

void HostWindow::embed(QWindow &window)
{
    m_embedded = &window;
    m_foreign.reset(QWindow::fromWinId(m_id));
    window.setParent(m_foreign.get());
    if (m_id == x11::rootWindow(m_connection.get()))
        window.setFlags(Qt::BypassWindowManagerHint | Qt::FramelessWindowHint);
    window.setCursor(Qt::BlankCursor);
    fit();
    window.show();
    // Beside whatever else is in the host, as its background.
    window.lower();
}

void HostWindow::fit()
{
    if (!m_embedded)
        return;
    const QSizeF points = QSizeF(m_frame.size()) / m_embedded->devicePixelRatio();
    m_embedded->setGeometry(QRect(QPoint(0, 0), points.toSize()));
}

void HostWindow::takeEvents()
{
    xcb_connection_t *const server = m_connection.get();
    const QRect before = m_frame;
    bool isGone = false;
    // Asking may bring more events along that wake nobody, so it is done between two looks.
    while (const x11::ReplyOf<xcb_generic_event_t> event{xcb_poll_for_event(server)}) {
        const int type = event->response_type & ~kSentByClient;
        isGone = isGone || type == XCB_DESTROY_NOTIFY;
        if (type == XCB_CONFIGURE_NOTIFY)
            m_frame = ask().value_or(m_frame);
    }
    if (isGone || xcb_connection_has_error(server)) {
        m_notifier.setEnabled(false);
        Q_EMIT gone();
    } else if (m_frame != before) {
        fit();
    }
}

} // namespace corvella
