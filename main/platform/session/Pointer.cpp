#include "platform/session/Pointer.h"

#include "platform/session/XcbConnection.h"

#include <QCursor>
#include <QGuiApplication>

#include <xcb/xfixes.h>

namespace corvella {

namespace {

// A window that lets clicks through shows the pointer of what lies beneath: the server itself has
// to hide it. False where it cannot.
bool setHiddenX11(xcb_connection_t *server, bool hidden)
{
    const xcb_query_extension_reply_t *extension = xcb_get_extension_data(server, &xcb_xfixes_id);
    if (!extension || !extension->present)
        return false;
    constexpr uint32_t kMajor = 4; // the first version that can hide it
    const x11::ReplyOf<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
        server, xcb_xfixes_query_version(server, kMajor, 0), nullptr));
    if (!version || version->major_version < kMajor)
        return false;
    if (hidden)
        xcb_xfixes_hide_cursor(server, x11::rootWindow(server));
    else
        xcb_xfixes_show_cursor(server, x11::rootWindow(server));
    xcb_flush(server);
    return true;
}

} // namespace

void setPointerHidden(bool hidden)
{
    // Where the server hides it Qt is left alone: Qt 6.4 leaves two pixmaps in the server with each
    // blank pointer that it makes, which is one for each display that comes.
    xcb_connection_t *const server = x11::applicationConnection();
    if (server && setHiddenX11(server, hidden))
        return;
    if (hidden)
        QGuiApplication::setOverrideCursor(Qt::BlankCursor);
    else
        QGuiApplication::restoreOverrideCursor();
}

bool isPointerKnownEverywhere()
{
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

} // namespace corvella
