#include "platform/session/InputLock.h"
#include "platform/session/XcbConnection.h"

#include <QTimer>
#include <QWindow>

#include <chrono>

namespace corvella {

namespace {

using std::chrono::milliseconds;

// A menu or a key that is just held down is gone after this long.
constexpr int kQuickAttempts = 10;
constexpr milliseconds kBetweenQuickAttempts{100};
constexpr milliseconds kBetweenSlowAttempts{1000};
// A grab that is held is asked for again this often: it costs one round trip and would show that
// the server took it away.
constexpr milliseconds kBetweenChecks{5000};

template <typename Reply> bool isGranted(const x11::ReplyOf<Reply> &reply)
{
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

// Active grabs, which come before the passive ones that window managers bind their keys with. On
// Qt's own connection, since events under a grab go to the client that holds it, and only that one.
class InputLockX11 final : public InputLock
{
public:
    explicit InputLockX11(xcb_connection_t *server)
        : m_server(server)
    {
        // Keys go to the wall that has the focus; where none has it, to this window, so that they
        // come to the program in any case. It stays while walls are built anew.
        m_keyhole.setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        m_keyhole.setGeometry(-1, -1, 1, 1);
        m_keyhole.setVisible(true);
        m_attempt.setSingleShot(true);
        connect(&m_attempt, &QTimer::timeout, this, &InputLockX11::attempt);
        m_attempt.start(milliseconds(0));
    }

    ~InputLockX11() override
    {
        xcb_ungrab_keyboard(m_server, XCB_CURRENT_TIME);
        xcb_ungrab_pointer(m_server, XCB_CURRENT_TIME);
        // An answer to any question means that the server has dealt with both.
        const x11::ReplyOf<xcb_get_input_focus_reply_t> answer(
            xcb_get_input_focus_reply(m_server, xcb_get_input_focus(m_server), nullptr));
    }

    QString obstacle() const override
    {
        if (m_holdsKeyboard && m_holdsPointer)
            return {};
        const QString what = m_holdsPointer ? QStringLiteral("the keyboard")
            : m_holdsKeyboard               ? QStringLiteral("the pointer")
                                            : QStringLiteral("keyboard and pointer");
        return m_refusals <= kQuickAttempts
            ? QStringLiteral("another program has hold of ") + what
            : QStringLiteral("another program does not let go of ") + what;
    }

    void setWalls(const QList<QWindow *> & /*walls*/) override {}

private:
    void attempt()
    {
        const QString before = obstacle();
        grab();
        const bool isComplete = m_holdsKeyboard && m_holdsPointer;
        m_refusals = isComplete ? 0 : m_refusals + 1;
        m_attempt.start(isComplete                        ? kBetweenChecks
                            : m_refusals < kQuickAttempts ? kBetweenQuickAttempts
                                                          : kBetweenSlowAttempts);
        if (m_isFirst || obstacle() != before)
            Q_EMIT changed();
        m_isFirst = false;
    }

    void grab()
    {
        constexpr uint8_t kOwnWindowsFirst = 1;
        constexpr uint16_t kPointerEvents = XCB_EVENT_MASK_BUTTON_PRESS
            | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;
        const auto keyboard = xcb_grab_keyboard(
            m_server, kOwnWindowsFirst, static_cast<xcb_window_t>(m_keyhole.winId()),
            XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        // On the root, where each window keeps its own cursor.
        const auto pointer = xcb_grab_pointer(
            m_server, kOwnWindowsFirst, x11::rootWindow(m_server), kPointerEvents,
            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
        m_holdsKeyboard = isGranted(x11::ReplyOf<xcb_grab_keyboard_reply_t>(
            xcb_grab_keyboard_reply(m_server, keyboard, nullptr)));
        m_holdsPointer = isGranted(x11::ReplyOf<xcb_grab_pointer_reply_t>(
            xcb_grab_pointer_reply(m_server, pointer, nullptr)));
    }

    xcb_connection_t *m_server; // Qt's
    QWindow m_keyhole;
    QTimer m_attempt;
    int m_refusals = 0; // in a row
    bool m_isFirst = true;
    bool m_holdsKeyboard = false;
    bool m_holdsPointer = false;
};

} // namespace

std::unique_ptr<InputLock> createInputLockX11()
{
    return std::make_unique<InputLockX11>(x11::applicationConnection());
}

} // namespace corvella
