#include "platform/session/IdleClock.h"
#include "platform/session/XcbConnection.h"

#include <chrono>
#include <limits>
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
        m_asked = Clock::now();
        m_told = info ? info->ms_since_user_input / 1000.0 : 0;
        return m_told;
    }

    bool isIdleFor(double seconds) override
    {
        // It grows no faster than time passes, so the server can often be left alone: each answer
        // wakes it and us.
        const std::chrono::duration<double> since = Clock::now() - m_asked;
        return m_told + since.count() >= seconds && secondsIdle() >= seconds;
    }

private:
    using Clock = std::chrono::steady_clock;

    const x11::Connection m_connection;
    double m_told = std::numeric_limits<double>::infinity(); // at m_asked
    Clock::time_point m_asked;
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
