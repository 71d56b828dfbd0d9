#include "platform/session/WindowActivation.h"

#include "platform/session/XcbConnection.h"

#include <QWindow>

namespace corvella {

void activateForUser(QWindow &window)
{
    window.requestActivate();
    if (xcb_connection_t *const server = x11::applicationConnection())
        x11::askManager(server, static_cast<xcb_window_t>(window.winId()), "_NET_ACTIVE_WINDOW",
                        {x11::kFromPager, XCB_CURRENT_TIME});
}

} // namespace corvella
