// A panel's tray of the older way: programs put windows of theirs into it. Main thread only.
#pragma once

#include <QString>

#include <memory>
#include <optional>

struct xcb_connection_t;

namespace corvella::test {

class X11Tray
{
public:
    // On a display such as ":3"; fails the test when it cannot be had.
    explicit X11Tray(const QString &display);
    ~X11Tray();

    // The window that a program has put into it, once it has.
    [[nodiscard]] std::optional<quint32> docked();

private:
    [[nodiscard]] quint32 atom(const char *name) const;

    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const;
    };
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    quint32 m_window = 0;
    std::optional<quint32> m_docked;
};

} // namespace corvella::test
