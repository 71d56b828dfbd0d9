// Locks the session by the locker that it has: the desktop's own, else whoever listens to logind.
// Main thread only; nothing here waits for a service, and none is started by it.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>

#include <functional>

namespace corvella {

class SessionLock : public QObject
{
    Q_OBJECT

public:
    SessionLock();

    // Asks the locker. Not to be called again before `finished`, which may come before it returns.
    void begin();

    [[nodiscard]] bool isLocking() const { return m_patience.isActive(); }
    // Whether the locker that locked last puts the displays to sleep itself.
    [[nodiscard]] bool switchesDisplaysOff() const { return m_switchesDisplaysOff; }

Q_SIGNALS:
    // The session is locked, or nobody locks it, or it takes too long; the latter is logged.
    void finished();

private:
    void askDesktop(size_t locker);
    void askLogind();
    void awaitLock(const QDBusConnection &bus, const QDBusMessage &isLocked);
    void finish();
    void finishUnlocked(const QString &reason);
    void giveUp();
    // Calls back unless all is over before the answer comes.
    void ask(const QDBusConnection &bus, QDBusMessage question,
             std::function<void(const QDBusMessage &)> take);

    QTimer m_patience; // runs as long as a lock is under way
    int m_attempt = 0;
    bool m_switchesDisplaysOff = false;
};

} // namespace corvella
