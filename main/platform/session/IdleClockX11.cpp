#include "platform/session/IdleClock.h"
#include "platform/session/XcbConnection.h"

#include <xcb/screensaver.h>

namespace corvella {

namespace {

class IdleClockX11 final : public IdleClock
{
public:
    explicit IdleClockX11(x11::Connection connection)
        : m_connection(std::move(connection))
    {
    }

    double secondsIdle() override
    {
        const auto cookie =
            xcb_screensaver_query_info(m_connection.get(), x11::rootWindow(m_connection.get()));
        const x11::ReplyOf<xcb_screensaver_query_info_reply_t> info(
            xcb_screensaver_query_info_reply(m_connection.get(), cookie, nullptr));
        return info ? info->ms_since_user_input / 1000.0 : 0;
    }

private:
    x11::Connection m_connection;
};

} // namespace

std::unique_ptr<IdleClock> createIdleClockX11()
{
    x11::Connection connection = x11::connectToServerWith(xcb_screensaver_id);
    if (!connection)
        return nullptr;
    return std::make_unique<IdleClockX11>(std::move(connection));
}

} // namespace corvella
