#include "support/WaylandKeyboard.h"

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1-client.h>

namespace corvella::test {

namespace {

// An ordinary American one. Ends with its zero byte.
constexpr char kKeymap[] = R"keymap(xkb_keymap {
    xkb_keycodes { include "evdev+aliases(qwerty)" };
    xkb_types { include "complete" };
    xkb_compat { include "complete" };
    xkb_symbols { include "pc+us+inet(evdev)" };
};)keymap";

// As keymaps number them.
quint32 bitOf(int modifier)
{
    switch (modifier) {
    case KEY_LEFTSHIFT:
        return 1 << 0;
    case KEY_LEFTCTRL:
        return 1 << 2;
    case KEY_LEFTALT:
        return 1 << 3;
    case KEY_LEFTMETA:
        return 1 << 6;
    default:
        return 0;
    }
}

} // namespace

void WaylandKeyboard::Destroy::operator()(wl_seat *seat) const
{
    wl_seat_destroy(seat);
}

void WaylandKeyboard::Destroy::operator()(zwp_virtual_keyboard_manager_v1 *manager) const
{
    zwp_virtual_keyboard_manager_v1_destroy(manager);
}

void WaylandKeyboard::Destroy::operator()(zwp_virtual_keyboard_v1 *keyboard) const
{
    zwp_virtual_keyboard_v1_destroy(keyboard);
}

WaylandKeyboard::WaylandKeyboard(const HeadlessSway &compositor)
    : m_client(compositor)
    , m_seat(m_client.bind<wl_seat>(wl_seat_interface))
    , m_manager(
          m_client.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface))
{
    if (!m_manager || !m_seat) {
        ADD_FAILURE() << "no compositor that lets a test have a keyboard";
        return;
    }
    m_keyboard.reset(
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(m_manager.get(), m_seat.get()));
    sendKeymap();
    m_client.roundTrip();
}

WaylandKeyboard::~WaylandKeyboard() = default;

void WaylandKeyboard::sendKeymap()
{
    const int file = ::memfd_create("keymap", MFD_CLOEXEC);
    EXPECT_EQ(::write(file, kKeymap, sizeof kKeymap), ssize_t(sizeof kKeymap));
    zwp_virtual_keyboard_v1_keymap(m_keyboard.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                   sizeof kKeymap);
    ::close(file); // it was copied
}

void WaylandKeyboard::send(int key, quint32 state)
{
    zwp_virtual_keyboard_v1_key(m_keyboard.get(), inputTime(), static_cast<quint32>(key), state);
}

void WaylandKeyboard::hold(quint32 modifiers)
{
    zwp_virtual_keyboard_v1_modifiers(m_keyboard.get(), modifiers, 0, 0, 0);
}

void WaylandKeyboard::strike(const QList<int> &held, int key)
{
    quint32 modifiers = 0;
    for (const int modifier : held) {
        send(modifier, WL_KEYBOARD_KEY_STATE_PRESSED);
        hold(modifiers |= bitOf(modifier));
    }
    send(key, WL_KEYBOARD_KEY_STATE_PRESSED);
    send(key, WL_KEYBOARD_KEY_STATE_RELEASED);
    for (const int modifier : held) {
        send(modifier, WL_KEYBOARD_KEY_STATE_RELEASED);
        hold(modifiers &= ~bitOf(modifier));
    }
    m_client.roundTrip();
}

} // namespace corvella::test
