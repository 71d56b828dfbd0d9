// A connection of a test's own to a compositor. Main thread only.
#pragma once

#include <QtGlobal>

#include <memory>

struct wl_display;
struct wl_interface;

namespace corvella::test {

class HeadlessSway;

class WaylandClient
{
public:
    // Fails the test where the compositor does not answer.
    explicit WaylandClient(const HeadlessSway &compositor);

    // The compositor's object of that kind, in its first version; null where it has none. The
    // caller destroys it, before the connection.
    template <typename Object> [[nodiscard]] Object *bind(const wl_interface &kind) const
    {
        return static_cast<Object *>(bound(kind));
    }
    // Returns when the compositor has taken all that was sent.
    void roundTrip() const;

private:
    [[nodiscard]] void *bound(const wl_interface &kind) const;

    struct Disconnect
    {
        void operator()(wl_display *display) const;
    };
    const std::unique_ptr<wl_display, Disconnect> m_display;
};

// Now, as events of input are dated: in milliseconds.
[[nodiscard]] quint32 inputTime();

} // namespace corvella::test
