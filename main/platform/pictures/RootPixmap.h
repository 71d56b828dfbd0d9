// The picture of an X server's root window, by the convention of those who set it: a pixmap that
// outlives its maker, named by the properties _XROOTPMAP_ID and ESETROOT_PMAP_ID. One thread; every
// call waits for the server. Included by X11 back-ends only.
#pragma once

#include "platform/pictures/DesktopPictures.h"
#include "platform/session/XcbConnection.h"

#include <QColor>
#include <QImage>

namespace corvella::x11 {

class RootPixmap
{
public:
    // With a connection of its own. Check isUsable() first.
    RootPixmap();

    // Whether the server answers and its pixels are of a kind that Qt knows, too.
    [[nodiscard]] bool isUsable() const { return m_format != QImage::Format_Invalid; }
    [[nodiscard]] QSize size() const;

    // Null where nobody has set one.
    [[nodiscard]] QImage picture() const;
    // The colour of the root's top left corner, where nobody has set a picture.
    [[nodiscard]] QColor colour() const;

    // These free what the last one has set. One call an object: the pixmap belongs to its
    // connection, and whoever frees it ends that.
    [[nodiscard]] Failure setPicture(const QImage &picture);
    void setColour(const QColor &colour);

private:
    [[nodiscard]] xcb_pixmap_t pixmapIn(const char *property) const;
    [[nodiscard]] QImage contentOf(xcb_drawable_t drawable, QRect part) const;
    void upload(xcb_pixmap_t pixmap, const QImage &picture) const;
    void freeLastPixmap() const;
    void show() const; // all requests so far are carried out when it returns

    Connection m_connection;
    xcb_screen_t *m_screen = nullptr;
    QImage::Format m_format = QImage::Format_Invalid;
};

// Whether what the root window shows is to be seen: no desktop's window lies over it.
[[nodiscard]] bool isRootVisible();

} // namespace corvella::x11
