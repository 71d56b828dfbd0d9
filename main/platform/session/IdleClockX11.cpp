#include "platform/session/IdleClock.h"
#include "platform/session/XcbConnection.h"

#include <chrono>
#include <cmath>
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
        // The server sends every connection the news of the keyboard.
        while (const x11::ReplyOf<xcb_generic_event_t> event{
            xcb_poll_for_queued_event(m_connection.get())}) {}
        const Clock::time_point now = Clock::now();
        const double expected = m_told + std::chrono::duration<double>(now - m_asked).count();
        m_told = info ? secondsIdleOfServer(info->ms_since_user_input, expected) : 0;
        m_asked = now;
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

double secondsIdleOfServer(uint32_t milliseconds, double expected)
{
    constexpr double kRound = 4294967.296; // seconds
    constexpr double kSame = 1;
    const double told = milliseconds / 1000.0;
    if (!std::isfinite(expected))
        return told;
    const double goneOn = told + kRound * std::round((expected - told) / kRound);
    return std::abs(goneOn - expected) < kSame ? goneOn : told;
}

std::unique_ptr<IdleClock> createIdleClockX11()
{
    x11::Connection connection = x11::connectToServerWith(xcb_screensaver_id);
    if (!connection)
        return nullptr;
    return std::make_unique<IdleClockX11>(std::move(connection));
}

} // namespace corvella
