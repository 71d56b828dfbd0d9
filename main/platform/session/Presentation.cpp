#include "platform/session/Presentation.h"

#include "log.h"
#include "platform/session/DBusInhibition.h"
#include "platform/session/InputLock.h"

#include <optional>

namespace corvella {

namespace {

const QString kPresenter = QStringLiteral("space.tarrow.corvella");
const QString kReason = QStringLiteral("A kiosk shows the Sun");

// The keys and switches of the machine, and what its menus and timers do. Not the reboot key by
// itself: it does nothing while shutdown is held back, and where somebody holds all eight kinds
// that logind knows, version 252 writes beyond the end of their names and loses its bus and its
// sessions.
DBusInhibition::Service logind()
{
    return {QDBusConnection::systemBus(),
            QStringLiteral("org.freedesktop.login1"),
            QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"),
            {QStringLiteral("shutdown:sleep:idle:handle-power-key:handle-suspend-key:"
                            "handle-hibernate-key:handle-lid-switch"),
             QStringLiteral("Corvella"), kReason, QStringLiteral("block")},
            {}};
}

// The desktop's menus: GNOME's and those that came from it.
DBusInhibition::Service sessionManager()
{
    constexpr uint kNoWindow = 0;
    constexpr uint kLogOut = 1;
    constexpr uint kSwitchUser = 2;
    constexpr uint kSuspend = 4;
    return {QDBusConnection::sessionBus(),
            QStringLiteral("org.gnome.SessionManager"),
            QStringLiteral("/org/gnome/SessionManager"),
            QStringLiteral("org.gnome.SessionManager"),
            {kPresenter, kNoWindow, kReason, kLogOut | kSwitchUser | kSuspend},
            QStringLiteral("Uninhibit")};
}

// KDE's. Others keep notifications off only by the user's own settings, which a crash would leave
// changed.
DBusInhibition::Service notifications()
{
    return {QDBusConnection::sessionBus(),
            QStringLiteral("org.freedesktop.Notifications"),
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"),
            {kPresenter, kReason, QVariantMap()},
            QStringLiteral("UnInhibit")};
}

// What a locked session holds, for as long as it is locked.
class Lock
{
public:
    explicit Lock(const QList<QWindow *> &walls)
        : m_input(InputLock::create())
        , m_machine(logind())
        , m_session(sessionManager())
        , m_notifications(notifications())
    {
        QObject::connect(m_input.get(), &InputLock::changed, m_input.get(),
                         [this] { reportInput(); });
        QObject::connect(&m_machine, &DBusInhibition::stateChanged, &m_machine,
                         [this] { reportMachine(); });
        reportMachine(); // where there is no bus, nothing will change
        m_input->setWalls(walls);
    }

    void setWalls(const QList<QWindow *> &walls) { m_input->setWalls(walls); }

private:
    void reportInput() const
    {
        const QString obstacle = m_input->obstacle();
        log(obstacle.isEmpty() ? QStringLiteral("kiosk: locked")
                               : QStringLiteral("kiosk: not locked: ") + obstacle);
    }

    void reportMachine() const
    {
        if (m_machine.state() == DBusInhibition::State::notHeld)
            log(QStringLiteral("kiosk: power keys, shutdown and sleep are not held back"));
    }

    const std::unique_ptr<InputLock> m_input;
    const DBusInhibition m_machine;
    const DBusInhibition m_session;
    const DBusInhibition m_notifications;
};

class SessionPresentation final : public Presentation
{
public:
    void setState(State state) override
    {
        if (state == State::locked && !m_lock)
            m_lock.emplace(m_walls);
        else if (state != State::locked)
            m_lock.reset();
    }

    void setWalls(const QList<QWindow *> &walls) override
    {
        m_walls = walls;
        if (m_lock)
            m_lock->setWalls(m_walls);
    }

private:
    QList<QWindow *> m_walls;
    std::optional<Lock> m_lock;
};

} // namespace

std::unique_ptr<Presentation> Presentation::create()
{
    return std::make_unique<SessionPresentation>();
}

} // namespace corvella
