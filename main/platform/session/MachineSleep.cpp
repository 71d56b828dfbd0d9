#include "platform/session/MachineSleep.h"

#include <QDBusConnection>

namespace corvella {

// https://www.freedesktop.org/software/systemd/man/org.freedesktop.login1.html
MachineSleep::MachineSleep()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (bus.isConnected())
        bus.connect(QStringLiteral("org.freedesktop.login1"),
                    QStringLiteral("/org/freedesktop/login1"),
                    QStringLiteral("org.freedesktop.login1.Manager"),
                    QStringLiteral("PrepareForSleep"), this, SLOT(take(bool)));
}

void MachineSleep::take(bool begins)
{
    if (!begins)
        Q_EMIT ended();
}

} // namespace corvella
