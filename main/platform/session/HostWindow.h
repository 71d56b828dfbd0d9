// A window of another program on the X server that a window of ours shows in, as a screen saver
// does in its host's. Main thread only.
#pragma once

#include <QObject>
#include <QRect>
#include <QSocketNotifier>

#include <memory>
#include <optional>

class QWindow;
struct xcb_connection_t;

namespace corvella {

class HostWindow : public QObject
{
    Q_OBJECT

public:
    // None where the X server knows no such window.
    [[nodiscard]] static std::unique_ptr<HostWindow> find(quint32 id);
    // The background of the whole display.
    [[nodiscard]] static std::unique_ptr<HostWindow> root();
    ~HostWindow() override;

    // In pixels, from the display's top left corner.
    [[nodiscard]] QRect frame() const { return m_frame; }

    // Shows a window inside this one, all over it from now on, beneath the pointer and without it.
    // It must go before this object does.
    void embed(QWindow &window);

Q_SIGNALS:
    // The window went, or the whole display.
    void gone();

private:
    struct Disconnect
    {
        void operator()(xcb_connection_t *connection) const;
    };
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    HostWindow(Connection connection, quint32 id);
    [[nodiscard]] std::optional<QRect> ask() const;
    void takeEvents();
    void fit();

    const Connection m_connection; // our own: Qt does not hear of other programs' windows
    const quint32 m_id;
    QSocketNotifier m_notifier;
    QRect m_frame;
    std::unique_ptr<QWindow> m_foreign;
    QWindow *m_embedded = nullptr;
};

} // namespace corvella
