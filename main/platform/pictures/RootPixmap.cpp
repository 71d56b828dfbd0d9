#include "platform/pictures/RootPixmap.h"

#include "platform/pictures/WindowProperty.h"

#include <algorithm>
#include <cstring>

namespace corvella::x11 {

namespace {

constexpr const char *kProperties[] = {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"};

// How Qt calls the pixels of a depth; the server's are in our own byte order.
QImage::Format formatOf(const xcb_setup_t *setup, uint8_t depth)
{
    const uint8_t ourOrder =
        Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? XCB_IMAGE_ORDER_LSB_FIRST : XCB_IMAGE_ORDER_MSB_FIRST;
    if (setup->image_byte_order != ourOrder)
        return QImage::Format_Invalid;
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0;
         xcb_format_next(&format)) {
        if (format.data->depth != depth)
            continue;
        if (format.data->bits_per_pixel == 32 && (depth == 24 || depth == 32))
            return QImage::Format_RGB32;
        if (format.data->bits_per_pixel == 32 && depth == 30)
            return QImage::Format_RGB30;
        if (format.data->bits_per_pixel == 16 && depth == 16)
            return QImage::Format_RGB16;
    }
    return QImage::Format_Invalid;
}

// Empty for one that is not there.
QSize sizeOf(xcb_connection_t *server, xcb_drawable_t drawable)
{
    const ReplyOf<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(server, xcb_get_geometry(server, drawable), nullptr));
    return geometry ? QSize(geometry->width, geometry->height) : QSize();
}

qint64 areaOf(QSize size)
{
    return qint64(size.width()) * size.height();
}

} // namespace

RootPixmap::RootPixmap()
    : m_connection(connectToServer())
{
    if (!m_connection)
        return;
    const xcb_setup_t *const setup = xcb_get_setup(m_connection.get());
    m_screen = xcb_setup_roots_iterator(setup).data;
    m_format = formatOf(setup, m_screen->root_depth);
}

QSize RootPixmap::size() const
{
    // The setup tells only how large it was when the connection was made.
    return sizeOf(m_connection.get(), m_screen->root);
}

xcb_pixmap_t RootPixmap::pixmapIn(const char *property) const
{
    return numbersOf(m_connection.get(), m_screen->root, property, XCB_ATOM_PIXMAP).value(0);
}

QImage RootPixmap::contentOf(xcb_drawable_t drawable, QRect part) const
{
    const ReplyOf<xcb_get_image_reply_t> content(xcb_get_image_reply(
        m_connection.get(),
        xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable,
                      static_cast<int16_t>(part.x()), static_cast<int16_t>(part.y()),
                      static_cast<uint16_t>(part.width()), static_cast<uint16_t>(part.height()),
                      ~0U),
        nullptr));
    const QImage shape(part.size(), m_format);
    if (!content || content->depth != m_screen->root_depth
        || xcb_get_image_data_length(content.get()) < shape.sizeInBytes())
        return {};
    return QImage(xcb_get_image_data(content.get()), part.width(), part.height(),
                  shape.bytesPerLine(), m_format)
        .copy();
}

QImage RootPixmap::picture() const
{
    const xcb_pixmap_t pixmap = pixmapIn(kProperties[0]);
    if (pixmap == XCB_PIXMAP_NONE)
        return {};
    // Whoever made it may have freed it and left its name.
    const QSize size = sizeOf(m_connection.get(), pixmap);
    return size.isEmpty() ? QImage() : contentOf(pixmap, QRect(QPoint(0, 0), size));
}

QColor RootPixmap::colour() const
{
    // The server tells nobody what a background is; but a window can have the same.
    xcb_connection_t *const server = m_connection.get();
    const xcb_window_t window = xcb_generate_id(server);
    const uint32_t values[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
    xcb_create_window(server, XCB_COPY_FROM_PARENT, window, m_screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(server, window);
    const QImage pixel = contentOf(window, QRect(0, 0, 1, 1));
    xcb_destroy_window(server, window);
    return pixel.isNull() ? QColor(Qt::black) : pixel.pixelColor(0, 0);
}

void RootPixmap::upload(xcb_pixmap_t pixmap, const QImage &picture) const
{
    xcb_connection_t *const server = m_connection.get();
    const xcb_gcontext_t context = xcb_generate_id(server);
    xcb_create_gc(server, context, pixmap, 0, nullptr);
    // A request has its limit.
    const qsizetype room = static_cast<qsizetype>(xcb_get_maximum_request_length(server)) * 4
        - static_cast<qsizetype>(sizeof(xcb_put_image_request_t)) - 8;
    const int rows = static_cast<int>(std::clamp<qsizetype>(room / picture.bytesPerLine(), 1, 256));
    for (int y = 0; y < picture.height(); y += rows) {
        const int height = std::min(rows, picture.height() - y);
        xcb_put_image(server, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context,
                      static_cast<uint16_t>(picture.width()), static_cast<uint16_t>(height), 0,
                      static_cast<int16_t>(y), 0, m_screen->root_depth,
                      static_cast<uint32_t>(height * picture.bytesPerLine()),
                      picture.constScanLine(y));
    }
    xcb_free_gc(server, context);
}

void RootPixmap::freeLastPixmap() const
{
    // Those who keep one for others name it twice; one that is named once is still its maker's.
    const xcb_pixmap_t last = pixmapIn(kProperties[0]);
    if (last != XCB_PIXMAP_NONE && last == pixmapIn(kProperties[1]))
        xcb_kill_client(m_connection.get(), last);
}

void RootPixmap::show() const
{
    xcb_clear_area(m_connection.get(), 0, m_screen->root, 0, 0, 0, 0);
    const ReplyOf<xcb_get_input_focus_reply_t> answer(xcb_get_input_focus_reply(
        m_connection.get(), xcb_get_input_focus(m_connection.get()), nullptr));
}

Failure RootPixmap::setPicture(const QImage &picture)
{
    xcb_connection_t *const server = m_connection.get();
    const QImage pixels = picture.convertToFormat(m_format);
    const xcb_pixmap_t pixmap = xcb_generate_id(server);
    const xcb_void_cookie_t made = xcb_create_pixmap_checked(
        server, m_screen->root_depth, pixmap, m_screen->root, static_cast<uint16_t>(pixels.width()),
        static_cast<uint16_t>(pixels.height()));
    const ReplyOf<xcb_generic_error_t> refusal(xcb_request_check(server, made));
    if (refusal || xcb_connection_has_error(server))
        return QStringLiteral("the X server takes no picture");
    upload(pixmap, pixels);
    freeLastPixmap();
    // Before it is named: what has a name stays, whenever we end.
    xcb_set_close_down_mode(server, XCB_CLOSE_DOWN_RETAIN_PERMANENT);
    for (const char *property : kProperties)
        xcb_change_property(server, XCB_PROP_MODE_REPLACE, m_screen->root, atom(server, property),
                            XCB_ATOM_PIXMAP, 32, 1, &pixmap);
    xcb_change_window_attributes(server, m_screen->root, XCB_CW_BACK_PIXMAP, &pixmap);
    show();
    return {};
}

void RootPixmap::setColour(const QColor &colour)
{
    xcb_connection_t *const server = m_connection.get();
    freeLastPixmap();
    for (const char *property : kProperties)
        xcb_delete_property(server, m_screen->root, atom(server, property));
    QImage pixel(1, 1, m_format);
    pixel.fill(colour);
    uint32_t value = 0;
    std::memcpy(&value, pixel.constBits(), static_cast<size_t>(pixel.depth() / 8));
    xcb_change_window_attributes(server, m_screen->root, XCB_CW_BACK_PIXEL, &value);
    show();
}

bool isRootVisible()
{
    const Connection server = connectToServer();
    if (!server)
        return false;
    const xcb_window_t root = rootWindow(server.get());
    const xcb_atom_t desktop = atom(server.get(), "_NET_WM_WINDOW_TYPE_DESKTOP");
    const QList<uint32_t> windows =
        numbersOf(server.get(), root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
    qint64 covered = 0;
    for (const xcb_window_t window : windows) {
        if (numbersOf(server.get(), window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM).contains(desktop))
            covered += areaOf(sizeOf(server.get(), window));
    }
    // Small ones lie on a desktop, and are none: clocks and the like.
    return covered < areaOf(sizeOf(server.get(), root)) / 2;
}

} // namespace corvella::x11
