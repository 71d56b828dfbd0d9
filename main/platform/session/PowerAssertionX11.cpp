#include "platform/session/PowerAssertion.h"
#include "platform/session/XcbConnection.h"

#include <xcb/screensaver.h>

namespace corvella {

namespace {

// The server counts suspensions by connection and ends them with it.
class PowerAssertionX11 final : public PowerAssertion
{
public:
    explicit PowerAssertionX11(x11::Connection connection)
        : m_connection(std::move(connection))
    {
        xcb_screensaver_suspend(m_connection.get(), 1);
        xcb_flush(m_connection.get());
    }

private:
    const x11::Connection m_connection;
};

} // namespace

std::unique_ptr<PowerAssertion> createPowerAssertionX11()
{
    x11::Connection connection = x11::connectToServerWith(xcb_screensaver_id);
    if (!connection)
        return nullptr;
    return std::make_unique<PowerAssertionX11>(std::move(connection));
}

} // namespace corvella
