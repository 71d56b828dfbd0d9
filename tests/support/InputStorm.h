// Random input, as by somebody who hammers on the keyboard and clicks wherever he can. The same
// seed gives the same storm. Main thread only.
#pragma once

#include "support/WaylandKeyboard.h"
#include "support/WaylandPointer.h"

#include <QPoint>
#include <QSize>
#include <QString>

#include <memory>
#include <random>

struct xcb_connection_t;

namespace corvella::test {

class InputStorm
{
public:
    virtual ~InputStorm() = default;

    // So many strokes, each a key with any of Shift, Control, Alt and Super, or a click somewhere;
    // never Control + Super + Alt + Q. They have all been taken when this returns, and nothing is
    // held down.
    void rage(int strokes);

protected:
    InputStorm(QSize screen, quint32 seed);

private:
    // Keys as the kernel numbers them; buttons from 0, the main one.
    virtual void strike(const QList<int> &held, int key) = 0;
    virtual void click(QPoint place, int button) = 0;
    virtual void finish() {}
    void strikeAny();
    [[nodiscard]] int random(int first, int last);

    const QSize m_screen;
    std::mt19937 m_random;
};

// Through an X server, at a display such as ":3"; fails the test when it takes no made-up input.
class X11Storm final : public InputStorm
{
public:
    X11Storm(const QString &display, QSize screen, quint32 seed);
    ~X11Storm() override;

private:
    void strike(const QList<int> &held, int key) override;
    void click(QPoint place, int button) override;
    void finish() override;
    void send(quint8 type, int detail, QPoint place = {});

    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const;
    };
    const std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    quint32 m_root = 0;
};

// Through a compositor whose outputs have this extent.
class WaylandStorm final : public InputStorm
{
public:
    WaylandStorm(const HeadlessSway &compositor, QSize layout, quint32 seed);

private:
    void strike(const QList<int> &held, int key) override;
    void click(QPoint place, int button) override;

    WaylandKeyboard m_keyboard;
    WaylandPointer m_pointer;
};

} // namespace corvella::test
