#include "support/InputStorm.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace corvella::test {

namespace {

constexpr std::array<quint32, 4> kModifiers{0xFFE1, 0xFFE3, 0xFFE9, 0xFFEB}; // Shift first
constexpr int kAllButShift = 0b1110;
constexpr quint32 kQ = 'q';
constexpr int kKeysPerClick = 4;
constexpr int kMostButtons = 9;

} // namespace

void InputStorm::Disconnect::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

InputStorm::InputStorm(const QString &display, quint32 seed)
    : m_connection(xcb_connect(qPrintable(display), nullptr))
    , m_random(seed)
{
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    const xcb_query_extension_reply_t *extension =
        xcb_get_extension_data(m_connection.get(), &xcb_test_id);
    EXPECT_TRUE(extension && extension->present);
}

InputStorm::~InputStorm() = default;

int InputStorm::random(int first, int last)
{
    // A distribution of the library would differ from machine to machine.
    return first + static_cast<int>(m_random() % static_cast<unsigned>(last - first + 1));
}

void InputStorm::rage(int strokes)
{
    for (int i = 0; i < strokes; ++i) {
        if (random(0, kKeysPerClick) == 0)
            click();
        else
            strike();
    }
    std::free(xcb_get_input_focus_reply(m_connection.get(), xcb_get_input_focus(m_connection.get()),
                                        nullptr));
}

void InputStorm::strike()
{
    const xcb_setup_t *const setup = xcb_get_setup(m_connection.get());
    const int held = random(0, (1 << kModifiers.size()) - 1);
    const auto key = static_cast<quint8>(random(setup->min_keycode, setup->max_keycode));
    if (held == kAllButShift && key == keyOf(kQ))
        return;
    for (size_t i = 0; i < kModifiers.size(); ++i) {
        if (held & (1 << i))
            send(XCB_KEY_PRESS, keyOf(kModifiers[i]));
    }
    send(XCB_KEY_PRESS, key);
    send(XCB_KEY_RELEASE, key);
    for (size_t i = 0; i < kModifiers.size(); ++i) {
        if (held & (1 << i))
            send(XCB_KEY_RELEASE, keyOf(kModifiers[i]));
    }
}

void InputStorm::click()
{
    const xcb_screen_t *const screen =
        xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data;
    send(XCB_MOTION_NOTIFY, 0, static_cast<qint16>(random(0, screen->width_in_pixels - 1)),
         static_cast<qint16>(random(0, screen->height_in_pixels - 1)));
    const auto button = static_cast<quint8>(random(1, kMostButtons));
    send(XCB_BUTTON_PRESS, button);
    send(XCB_BUTTON_RELEASE, button);
}

void InputStorm::send(quint8 type, quint8 detail, qint16 x, qint16 y)
{
    xcb_test_fake_input(m_connection.get(), type, detail, XCB_CURRENT_TIME, m_root, x, y, 0);
}

quint8 InputStorm::keyOf(quint32 symbol) const
{
    const xcb_setup_t *const setup = xcb_get_setup(m_connection.get());
    const auto count = static_cast<quint8>(setup->max_keycode - setup->min_keycode + 1);
    static xcb_get_keyboard_mapping_reply_t *const mapping = xcb_get_keyboard_mapping_reply(
        m_connection.get(), xcb_get_keyboard_mapping(m_connection.get(), setup->min_keycode, count),
        nullptr);
    const xcb_keysym_t *const symbols = xcb_get_keyboard_mapping_keysyms(mapping);
    for (int key = 0; key < count; ++key) {
        if (symbols[key * mapping->keysyms_per_keycode] == symbol)
            return static_cast<quint8>(setup->min_keycode + key);
    }
    return 0;
}

} // namespace corvella::test
