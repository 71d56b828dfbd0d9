// A test's own view of an X server: what its screen shows and which windows are on it.
// Any failure to talk to the server shows as an empty answer. Main thread only.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QList>
#include <QMap>
#include <QRect>
#include <QString>

#include <memory>
#include <optional>

struct xcb_client_message_event_t;
struct xcb_connection_t;

namespace corvella::test {

// A window that is on the screen.
struct XWindow
{
    quint32 id = 0;
    QString title;
    QRect frame; // pixels, in the root window; without a manager's decoration
};

class XClient
{
public:
    // Connects to a display such as ":3"; fails the test when nobody answers there.
    explicit XClient(const QString &display);
    ~XClient();

    // The whole screen, all monitors.
    [[nodiscard]] QImage picture() const;
    // Fills the background of the screen, where no window is.
    void paintRoot(const QColor &colour);

    // The titled windows that are visible now, whether a window manager framed them or not.
    [[nodiscard]] QList<XWindow> windows() const;
    // How many times a top-level window was shown since the connection was made.
    [[nodiscard]] int windowsShown();
    // From now on, pointer buttons that are pressed on the background count. One client at a time
    // may listen to them, a window manager does.
    void listenToRoot();
    [[nodiscard]] int pressesOnRoot();

    // The window that gets the keys.
    [[nodiscard]] quint32 focus() const;
    // How many times a window manager was asked to bring a window to the front because the user
    // wants it there, since the connection was made.
    [[nodiscard]] int activationsForUser();
    // Gives the keys to a window of this client that nobody sees.
    void takeFocus();
    // The names of the states that a window manager holds a window in (_NET_WM_STATE_FULLSCREEN).
    [[nodiscard]] QList<QByteArray> states(quint32 window) const;
    [[nodiscard]] bool isOnAllWorkspaces(quint32 window) const;
    // Whether it came up as one that no window manager should give the keys to.
    [[nodiscard]] bool cameWithoutFocus(quint32 window) const;
    // Takes all keys, or all of the pointer, for this client. False when another client has them.
    [[nodiscard]] bool grabKeyboard();
    [[nodiscard]] bool grabPointer();
    void releaseGrabs();

    // A white window of this client's for others to show something in, as hosts of screen savers
    // do.
    [[nodiscard]] quint32 openWindow(const QRect &frame);
    void resizeWindow(quint32 window, QSize size);
    void closeWindow(quint32 window);

    // What a process of this machine holds in the server: how many of each type, by the server's
    // own names ("WINDOW", "PIXMAP"), and how many bytes its pixmaps take.
    [[nodiscard]] QMap<QString, double> heldBy(qint64 process) const;
    static const QString kPixmapBytes;

    // Whether the server's own saver blanks the screen.
    [[nodiscard]] bool isBlanked() const;
    // Whether a window manager is at work.
    [[nodiscard]] bool isManaged() const;

private:
    void selectRootEvents(quint32 mask);
    void takeEvents();
    void takeMessage(const xcb_client_message_event_t &message);
    void collectWindows(quint32 parent, int depth, QList<XWindow> &windows) const;
    [[nodiscard]] QRect frameOf(quint32 window) const;
    // None when the window is not visible.
    [[nodiscard]] std::optional<XWindow> describe(quint32 window) const;
    [[nodiscard]] quint32 atom(const char *name) const; // none where nobody has used the name
    [[nodiscard]] QString nameOf(quint32 atom) const;
    // The connections of a process, by the base of what they number.
    [[nodiscard]] QList<quint32> clientsOf(qint64 process) const;
    [[nodiscard]] QList<quint32> numbers(quint32 window, const char *property) const;
    [[nodiscard]] QByteArray property(quint32 window, const char *name) const;

    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const;
    };
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    quint32 m_root = 0;
    int m_windowsShown = 0;
    int m_pressesOnRoot = 0;
    int m_activationsForUser = 0;
};

} // namespace corvella::test
