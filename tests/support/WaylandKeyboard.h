// A keyboard of a test's own at a compositor: plugged in while the object lives. Main thread only.
#pragma once

#include "support/WaylandClient.h"

#include <QList>

#include <memory>

struct wl_seat;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace corvella::test {

class WaylandKeyboard
{
public:
    // Fails the test where the keyboard cannot be plugged in.
    explicit WaylandKeyboard(const HeadlessSway &compositor);
    ~WaylandKeyboard();

    // A key while left modifiers are held down, as the kernel numbers them all. The compositor has
    // taken it when this returns.
    void strike(const QList<int> &held, int key);

private:
    void sendKeymap();
    void send(int key, quint32 state);
    void hold(quint32 modifiers);

    struct Destroy
    {
        void operator()(wl_seat *seat) const;
        void operator()(zwp_virtual_keyboard_manager_v1 *manager) const;
        void operator()(zwp_virtual_keyboard_v1 *keyboard) const;
    };
    const WaylandClient m_client;
    const std::unique_ptr<wl_seat, Destroy> m_seat;
    const std::unique_ptr<zwp_virtual_keyboard_manager_v1, Destroy> m_manager;
    std::unique_ptr<zwp_virtual_keyboard_v1, Destroy> m_keyboard;
};

} // namespace corvella::test
