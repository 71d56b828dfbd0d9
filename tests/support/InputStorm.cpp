#include "support/InputStorm.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <linux/input-event-codes.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace corvella::test {

namespace {

constexpr std::array kModifiers{KEY_LEFTSHIFT, KEY_LEFTCTRL, KEY_LEFTALT, KEY_LEFTMETA};
constexpr unsigned kAllButShift = 0b1110;
constexpr int kLastKey = 247; // the last that X has a number for, which is higher by eight
constexpr int kBeforeX = 8;
constexpr int kKeysPerClick = 4;
constexpr int kButtons = 9;

} // namespace

InputStorm::InputStorm(QSize screen, quint32 seed)
    : m_screen(screen)
    , m_random(seed)
{
}

int InputStorm::random(int first, int last)
{
    // A distribution of the library would differ from machine to machine.
    return first + static_cast<int>(m_random() % static_cast<unsigned>(last - first + 1));
}

void InputStorm::rage(int strokes)
{
    for (int i = 0; i < strokes; ++i) {
        if (random(0, kKeysPerClick) == 0) {
            const int x = random(0, m_screen.width() - 1);
            const int y = random(0, m_screen.height() - 1);
            click({x, y}, random(0, kButtons - 1));
        } else {
            strikeAny();
        }
    }
    finish();
}

void InputStorm::strikeAny()
{
    const auto which = static_cast<unsigned>(random(0, (1 << kModifiers.size()) - 1));
    const int key = random(KEY_ESC, kLastKey);
    if (which == kAllButShift && key == KEY_Q)
        return;
    QList<int> held;
    for (size_t i = 0; i < kModifiers.size(); ++i) {
        if (which & (1U << i))
            held << kModifiers.at(i);
    }
    strike(held, key);
}

void X11Storm::Disconnect::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

X11Storm::X11Storm(const QString &display, QSize screen, quint32 seed)
    : InputStorm(screen, seed)
    , m_connection(xcb_connect(qPrintable(display), nullptr))
{
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    const xcb_query_extension_reply_t *extension =
        xcb_get_extension_data(m_connection.get(), &xcb_test_id);
    EXPECT_TRUE(extension && extension->present);
}

X11Storm::~X11Storm() = default;

void X11Storm::strike(const QList<int> &held, int key)
{
    for (const int modifier : held)
        send(XCB_KEY_PRESS, modifier + kBeforeX);
    send(XCB_KEY_PRESS, key + kBeforeX);
    send(XCB_KEY_RELEASE, key + kBeforeX);
    for (const int modifier : held)
        send(XCB_KEY_RELEASE, modifier + kBeforeX);
}

void X11Storm::click(QPoint place, int button)
{
    send(XCB_MOTION_NOTIFY, 0, place);
    send(XCB_BUTTON_PRESS, button + 1);
    send(XCB_BUTTON_RELEASE, button + 1);
}

void X11Storm::send(quint8 type, int detail, QPoint place)
{
    xcb_test_fake_input(m_connection.get(), type, static_cast<quint8>(detail), XCB_CURRENT_TIME,
                        m_root, static_cast<qint16>(place.x()), static_cast<qint16>(place.y()), 0);
}

void X11Storm::finish()
{
    std::free(xcb_get_input_focus_reply(m_connection.get(), xcb_get_input_focus(m_connection.get()),
                                        nullptr));
}

WaylandStorm::WaylandStorm(const HeadlessSway &compositor, QSize layout, quint32 seed)
    : InputStorm(layout, seed)
    , m_keyboard(compositor)
    , m_pointer(compositor, layout)
{
}

void WaylandStorm::strike(const QList<int> &held, int key)
{
    m_keyboard.strike(held, key);
}

void WaylandStorm::click(QPoint place, int button)
{
    m_pointer.moveTo(place);
    m_pointer.click(button);
}

} // namespace corvella::test
