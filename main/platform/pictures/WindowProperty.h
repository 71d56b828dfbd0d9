// Properties of X11 windows, as window managers and those who draw desktops agree upon them. One
// thread a connection; every call waits for the server. Included by X11 back-ends only.
#pragma once

#include "platform/session/XcbConnection.h"

#include <QList>

namespace corvella::x11 {

// The numbers of a property of this type; none where the window does not have it.
[[nodiscard]] QList<uint32_t> numbersOf(xcb_connection_t *server, xcb_window_t window,
                                        const char *property, xcb_atom_t type);

} // namespace corvella::x11
