#include "support/XClient.h"

#include <QtEndian>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <xcb/res.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

namespace corvella::test {

namespace {

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};
template <typename Reply> using ReplyOf = std::unique_ptr<Reply, FreeReply>;

// A manager's frame lies between the root and a window, and some put in a second one.
constexpr int kDeepestFrame = 2;
constexpr uint32_t kLongestProperty = 1024; // in units of four bytes

} // namespace

const QString XClient::kPixmapBytes = QStringLiteral("bytes of pixmaps");

void XClient::Disconnect::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

XClient::XClient(const QString &display)
    : m_connection(xcb_connect(qPrintable(display), nullptr))
{
    if (xcb_connection_has_error(m_connection.get())) {
        ADD_FAILURE() << "no X server at " << qPrintable(display);
        return;
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    selectRootEvents(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
}

void XClient::selectRootEvents(quint32 mask)
{
    const auto cookie =
        xcb_change_window_attributes_checked(m_connection.get(), m_root, XCB_CW_EVENT_MASK, &mask);
    const ReplyOf<xcb_generic_error_t> error(xcb_request_check(m_connection.get(), cookie));
    EXPECT_FALSE(error) << "the X server refused to tell of events";
}

void XClient::listenToRoot()
{
    selectRootEvents(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS);
}

XClient::~XClient() = default;

QImage XClient::picture() const
{
    xcb_connection_t *const server = m_connection.get();
    const QSize size = frameOf(m_root).size();
    const auto cookie = xcb_get_image(
        server, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, 0, 0, static_cast<uint16_t>(size.width()),
        static_cast<uint16_t>(size.height()), std::numeric_limits<uint32_t>::max());
    const ReplyOf<xcb_get_image_reply_t> image(xcb_get_image_reply(server, cookie, nullptr));
    if (!image || xcb_get_image_data_length(image.get()) != size.width() * size.height() * 4)
        return {};
    return QImage(xcb_get_image_data(image.get()), size.width(), size.height(),
                  QImage::Format_RGB32)
        .copy();
}

void XClient::paintRoot(const QColor &colour)
{
    const uint32_t pixel = colour.rgb() & 0xFFFFFFU;
    xcb_change_window_attributes(m_connection.get(), m_root, XCB_CW_BACK_PIXEL, &pixel);
    xcb_clear_area(m_connection.get(), 0, m_root, 0, 0, 0, 0);
    xcb_flush(m_connection.get());
}

quint32 XClient::atom(const char *name) const
{
    xcb_connection_t *const server = m_connection.get();
    const auto cookie = xcb_intern_atom(server, 1, static_cast<uint16_t>(std::strlen(name)), name);
    const ReplyOf<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(server, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

QString XClient::nameOf(quint32 atom) const
{
    xcb_connection_t *const server = m_connection.get();
    const ReplyOf<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(server, xcb_get_atom_name(server, atom), nullptr));
    return reply ? QString::fromLatin1(xcb_get_atom_name_name(reply.get()),
                                       xcb_get_atom_name_name_length(reply.get()))
                 : QString();
}

QList<quint32> XClient::clientsOf(qint64 process) const
{
    xcb_connection_t *const server = m_connection.get();
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const ReplyOf<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(server, xcb_res_query_client_ids(server, 1, &all), nullptr));
    QList<quint32> clients;
    if (!reply)
        return clients;
    for (auto id = xcb_res_query_client_ids_ids_iterator(reply.get()); id.rem > 0;
         xcb_res_client_id_value_next(&id)) {
        if (xcb_res_client_id_value_value_length(id.data) > 0
            && *xcb_res_client_id_value_value(id.data) == process)
            clients << id.data->spec.client;
    }
    return clients;
}

QMap<QString, double> XClient::heldBy(qint64 process) const
{
    xcb_connection_t *const server = m_connection.get();
    QMap<QString, double> held;
    for (const quint32 client : clientsOf(process)) {
        const ReplyOf<xcb_res_query_client_resources_reply_t> resources(
            xcb_res_query_client_resources_reply(
                server, xcb_res_query_client_resources(server, client), nullptr));
        const ReplyOf<xcb_res_query_client_pixmap_bytes_reply_t> pixmaps(
            xcb_res_query_client_pixmap_bytes_reply(
                server, xcb_res_query_client_pixmap_bytes(server, client), nullptr));
        if (!resources || !pixmaps)
            return {};
        const xcb_res_type_t *const types = xcb_res_query_client_resources_types(resources.get());
        for (int i = 0; i < xcb_res_query_client_resources_types_length(resources.get()); ++i)
            held[nameOf(types[i].resource_type)] += types[i].count;
        held[kPixmapBytes] +=
            pixmaps->bytes + std::ldexp(static_cast<double>(pixmaps->bytes_overflow), 32);
    }
    return held;
}

QByteArray XClient::property(quint32 window, const char *name) const
{
    xcb_connection_t *const server = m_connection.get();
    const xcb_atom_t key = atom(name);
    if (key == XCB_ATOM_NONE)
        return {};
    const auto cookie = xcb_get_property(server, 0, window, key, XCB_ATOM_ANY, 0, kLongestProperty);
    const ReplyOf<xcb_get_property_reply_t> reply(xcb_get_property_reply(server, cookie, nullptr));
    if (!reply)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

QList<XWindow> XClient::windows() const
{
    QList<XWindow> windows;
    collectWindows(m_root, 0, windows);
    // A window manager keeps one of its own out of sight.
    const QRect screen = frameOf(m_root);
    windows.removeIf([&screen](const XWindow &window) { return !screen.intersects(window.frame); });
    return windows;
}

QRect XClient::frameOf(quint32 window) const
{
    xcb_connection_t *const server = m_connection.get();
    const ReplyOf<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(server, xcb_get_geometry(server, window), nullptr));
    const ReplyOf<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        server, xcb_translate_coordinates(server, window, m_root, 0, 0), nullptr));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

void XClient::collectWindows(quint32 parent, int depth, QList<XWindow> &windows) const
{
    xcb_connection_t *const server = m_connection.get();
    const ReplyOf<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(server, xcb_query_tree(server, parent), nullptr));
    if (!tree)
        return;
    const xcb_window_t *const children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const std::optional<XWindow> window = describe(children[i]);
        if (window && !window->title.isEmpty())
            windows << *window;
        else if (window && depth < kDeepestFrame)
            collectWindows(children[i], depth + 1, windows);
    }
}

std::optional<XWindow> XClient::describe(quint32 window) const
{
    xcb_connection_t *const server = m_connection.get();
    const ReplyOf<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        server, xcb_get_window_attributes(server, window), nullptr));
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
        return std::nullopt;
    return XWindow{window, QString::fromUtf8(property(window, "_NET_WM_NAME")), frameOf(window)};
}

void XClient::takeMessage(const xcb_client_message_event_t &message)
{
    constexpr uint32_t kFromUser = 2;
    if (message.type == atom("_NET_ACTIVE_WINDOW") && message.data.data32[0] == kFromUser)
        ++m_activationsForUser;
}

void XClient::takeEvents()
{
    while (const ReplyOf<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.get())}) {
        if ((event->response_type & 0x7F) == XCB_MAP_NOTIFY)
            ++m_windowsShown;
        else if ((event->response_type & 0x7F) == XCB_BUTTON_PRESS)
            ++m_pressesOnRoot;
        else if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE)
            takeMessage(reinterpret_cast<const xcb_client_message_event_t &>(*event));
    }
}

int XClient::activationsForUser()
{
    takeEvents();
    return m_activationsForUser;
}

int XClient::windowsShown()
{
    takeEvents();
    return m_windowsShown;
}

int XClient::pressesOnRoot()
{
    takeEvents();
    return m_pressesOnRoot;
}

bool XClient::grabKeyboard()
{
    const auto cookie = xcb_grab_keyboard(m_connection.get(), 0, m_root, XCB_CURRENT_TIME,
                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const ReplyOf<xcb_grab_keyboard_reply_t> reply(
        xcb_grab_keyboard_reply(m_connection.get(), cookie, nullptr));
    EXPECT_TRUE(reply);
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool XClient::grabPointer()
{
    const auto cookie = xcb_grab_pointer(m_connection.get(), 0, m_root, 0, XCB_GRAB_MODE_ASYNC,
                                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
    const ReplyOf<xcb_grab_pointer_reply_t> reply(
        xcb_grab_pointer_reply(m_connection.get(), cookie, nullptr));
    EXPECT_TRUE(reply);
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void XClient::releaseGrabs()
{
    xcb_ungrab_keyboard(m_connection.get(), XCB_CURRENT_TIME);
    xcb_ungrab_pointer(m_connection.get(), XCB_CURRENT_TIME);
    xcb_flush(m_connection.get());
}

quint32 XClient::focus() const
{
    xcb_connection_t *const server = m_connection.get();
    const ReplyOf<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(server, xcb_get_input_focus(server), nullptr));
    return reply ? reply->focus : static_cast<quint32>(XCB_NONE);
}

void XClient::takeFocus()
{
    const xcb_window_t window = xcb_generate_id(m_connection.get());
    const uint32_t unmanaged = 1;
    xcb_create_window(m_connection.get(), 0, window, m_root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                      &unmanaged);
    xcb_map_window(m_connection.get(), window);
    xcb_set_input_focus(m_connection.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    EXPECT_EQ(focus(), window);
}

quint32 XClient::openWindow(const QRect &frame)
{
    const xcb_window_t window = xcb_generate_id(m_connection.get());
    constexpr uint32_t kWhite = 0xffffff;
    const uint32_t values[] = {kWhite, 1 /* unmanaged */};
    xcb_create_window(m_connection.get(), XCB_COPY_FROM_PARENT, window, m_root,
                      static_cast<int16_t>(frame.x()), static_cast<int16_t>(frame.y()),
                      static_cast<uint16_t>(frame.width()), static_cast<uint16_t>(frame.height()),
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    // An answer to the last request: whoever else speaks of the window finds it there.
    const ReplyOf<xcb_generic_error_t> error(
        xcb_request_check(m_connection.get(), xcb_map_window_checked(m_connection.get(), window)));
    EXPECT_FALSE(error) << "the X server refused to open a window";
    return window;
}

void XClient::resizeWindow(quint32 window, QSize size)
{
    const uint32_t values[] = {static_cast<uint32_t>(size.width()),
                               static_cast<uint32_t>(size.height())};
    xcb_configure_window(m_connection.get(), window,
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
    xcb_flush(m_connection.get());
}

void XClient::closeWindow(quint32 window)
{
    xcb_destroy_window(m_connection.get(), window);
    xcb_flush(m_connection.get());
}

QList<quint32> XClient::numbers(quint32 window, const char *name) const
{
    const QByteArray bytes = property(window, name);
    constexpr qsizetype kSize = sizeof(quint32);
    QList<quint32> numbers;
    for (qsizetype i = 0; i + kSize <= bytes.size(); i += kSize)
        numbers << qFromUnaligned<quint32>(bytes.constData() + i);
    return numbers;
}

QList<QByteArray> XClient::states(quint32 window) const
{
    xcb_connection_t *const server = m_connection.get();
    QList<QByteArray> states;
    for (const quint32 state : numbers(window, "_NET_WM_STATE")) {
        const ReplyOf<xcb_get_atom_name_reply_t> name(
            xcb_get_atom_name_reply(server, xcb_get_atom_name(server, state), nullptr));
        if (name)
            states << QByteArray(xcb_get_atom_name_name(name.get()),
                                 xcb_get_atom_name_name_length(name.get()));
    }
    return states;
}

bool XClient::isOnAllWorkspaces(quint32 window) const
{
    constexpr quint32 kAll = 0xFFFFFFFF;
    return numbers(window, "_NET_WM_DESKTOP") == QList{kAll};
}

bool XClient::cameWithoutFocus(quint32 window) const
{
    // The time of the user's last touch, in a window of its own or not; 0 is for none.
    const quint32 holder = numbers(window, "_NET_WM_USER_TIME_WINDOW").value(0, window);
    return numbers(holder, "_NET_WM_USER_TIME") == QList{0U};
}

bool XClient::isBlanked() const
{
    xcb_connection_t *const server = m_connection.get();
    const ReplyOf<xcb_screensaver_query_info_reply_t> info(xcb_screensaver_query_info_reply(
        server, xcb_screensaver_query_info(server, m_root), nullptr));
    return info && info->state == XCB_SCREENSAVER_STATE_ON;
}

bool XClient::isManaged() const
{
    // What a manager that was killed said of itself stays, but not the window that it named.
    constexpr const char *kCheck = "_NET_SUPPORTING_WM_CHECK";
    const QList<quint32> named = numbers(m_root, kCheck);
    return !named.isEmpty() && !property(named.first(), kCheck).isEmpty();
}

} // namespace corvella::test
