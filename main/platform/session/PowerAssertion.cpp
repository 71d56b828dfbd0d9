#include "platform/session/PowerAssertion.h"

#include "log.h"
#include "platform/session/DBusInhibition.h"
#include "platform/session/WaylandIdleInhibition.h"
#include "platform/session/XcbConnection.h"

namespace corvella {

namespace {

const QString kProgram = QStringLiteral("space.tarrow.corvella");

// KDE, GNOME, xscreensaver.
DBusInhibition::Service screenSaver(const QString &reason)
{
    return {QDBusConnection::sessionBus(),
            QStringLiteral("org.freedesktop.ScreenSaver"),
            QStringLiteral("/org/freedesktop/ScreenSaver"),
            QStringLiteral("org.freedesktop.ScreenSaver"),
            {kProgram, reason},
            QStringLiteral("UnInhibit")};
}

// GNOME and those that came from it.
DBusInhibition::Service sessionManager(const QString &reason)
{
    constexpr uint kNoWindow = 0;
    constexpr uint kIdle = 8;
    return {QDBusConnection::sessionBus(),
            QStringLiteral("org.gnome.SessionManager"),
            QStringLiteral("/org/gnome/SessionManager"),
            QStringLiteral("org.gnome.SessionManager"),
            {kProgram, kNoWindow, reason, kIdle},
            QStringLiteral("Uninhibit")};
}

// Xfce, LXQt, KDE.
DBusInhibition::Service powerManagement(const QString &reason)
{
    return {QDBusConnection::sessionBus(),
            QStringLiteral("org.freedesktop.PowerManagement"),
            QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
            QStringLiteral("org.freedesktop.PowerManagement.Inhibit"),
            {kProgram, reason},
            QStringLiteral("UnInhibit")};
}

// The system's own doing after a time of idleness.
DBusInhibition::Service logind(const QString &reason)
{
    return {QDBusConnection::systemBus(),
            QStringLiteral("org.freedesktop.login1"),
            QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"),
            {QStringLiteral("idle"), QStringLiteral("Corvella"), reason, QStringLiteral("block")},
            {}};
}

class SessionPowerAssertion final : public PowerAssertion
{
public:
    explicit SessionPowerAssertion(const QString &reason)
        : m_screenSaver(screenSaver(reason))
        , m_sessionManager(sessionManager(reason))
        , m_powerManagement(powerManagement(reason))
        , m_logind(logind(reason))
    {
        if (x11::isX11Session())
            m_x11 = createPowerAssertionX11();
        for (DBusInhibition *const desktop : {&m_screenSaver, &m_sessionManager}) {
            QObject::connect(desktop, &DBusInhibition::stateChanged, desktop,
                             [this] { turnToCompositor(); });
        }
        turnToCompositor();
    }

private:
    // The compositor is asked only where no desktop does it: while it keeps the display awake, it
    // no longer tells how long there was no input.
    void turnToCompositor()
    {
        using State = DBusInhibition::State;
        const auto isOneOf = [this](State state) {
            return m_screenSaver.state() == state || m_sessionManager.state() == state;
        };
        if (isOneOf(State::held))
            m_compositor.reset();
        else if (!isOneOf(State::asked) && !m_compositor)
            m_compositor = wayland::IdleInhibition::create();
    }

    std::unique_ptr<PowerAssertion> m_x11;
    std::unique_ptr<wayland::IdleInhibition> m_compositor;
    DBusInhibition m_screenSaver;
    DBusInhibition m_sessionManager;
    DBusInhibition m_powerManagement;
    DBusInhibition m_logind;
};

} // namespace

std::unique_ptr<PowerAssertion> PowerAssertion::create(const QString &reason)
{
    return std::make_unique<SessionPowerAssertion>(reason);
}

} // namespace corvella
