// Random input through an X server, as by somebody who hammers on the keyboard and clicks wherever
// he can. The same seed gives the same storm. Main thread only.
#pragma once

#include <QString>

#include <memory>
#include <random>

struct xcb_connection_t;

namespace corvella::test {

class InputStorm
{
public:
    // At a display such as ":3"; fails the test when it takes no made-up input.
    InputStorm(const QString &display, quint32 seed);
    ~InputStorm();

    // So many strokes, each a key with any of Shift, Control, Alt and Super, or a click somewhere;
    // never Control + Super + Alt + Q. The server has taken them all when this returns, and nothing
    // is held down.
    void rage(int strokes);

private:
    void strike();
    void click();
    void send(quint8 type, quint8 detail, qint16 x = 0, qint16 y = 0);
    [[nodiscard]] quint8 keyOf(quint32 symbol) const;
    [[nodiscard]] int random(int first, int last);

    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const;
    };
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    quint32 m_root = 0;
    std::mt19937 m_random;
};

} // namespace corvella::test
