// Whether an X11 session has a tray in the older way, where programs put windows into a panel's.
// Included by the status item only. Main thread only.
#pragma once

#include "platform/session/XcbConnection.h"

#include <QObject>
#include <QSocketNotifier>

namespace corvella {

class SystemTrayX11 : public QObject
{
    Q_OBJECT

public:
    // Null where no X server answers.
    [[nodiscard]] static std::unique_ptr<SystemTrayX11> create();

    [[nodiscard]] bool isThere() const;

Q_SIGNALS:
    // One may have come.
    void changed();

private:
    explicit SystemTrayX11(x11::Connection connection);
    void takeEvents();

    const x11::Connection m_connection;
    QSocketNotifier m_notifier;
    xcb_atom_t m_selection = XCB_ATOM_NONE; // whose owner is the tray
};

} // namespace corvella
