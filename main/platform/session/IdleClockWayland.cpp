#include "platform/session/IdleClock.h"
#include "platform/session/WaylandIdleInhibition.h"
#include "platform/session/WaylandIdleNotification.h"

#include <QEvent>
#include <QGuiApplication>

#include <optional>

namespace corvella {

namespace {

using Clock = std::chrono::steady_clock;

// Compositors tell of moments and do not count: after this long without input, and with the first
// input after that. Of no time at all they would tell with every single event.
constexpr std::chrono::milliseconds kFirstTold{1000};

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletMove:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
        return true;
    default:
        return false;
    }
}

class IdleClockWayland final : public QObject, public IdleClock
{
public:
    explicit IdleClockWayland(std::unique_ptr<wayland::IdleNotification> notification)
        : m_notification(std::move(notification))
    {
        connect(m_notification.get(), &wayland::IdleNotification::idled, this,
                [this] { m_idleSince = Clock::now() - kFirstTold; });
        connect(m_notification.get(), &wayland::IdleNotification::resumed, this,
                [this] { m_idleSince.reset(); });
        qGuiApp->installEventFilter(this);
    }

    double secondsIdle() override
    {
        const Clock::time_point now = Clock::now();
        // While a wall of ours keeps the display awake the compositor is silent; the wall itself
        // sees what input there is to see.
        if (wayland::IdleInhibition::isHeld() && !m_notification->heedsInputAlone())
            return secondsBetween(m_lastInputHere, now);
        m_lastInputHere = now; // the wall counts from when it begins to keep the display awake
        return m_idleSince ? secondsBetween(*m_idleSince, now) : 0;
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (isInput(event->type()))
            m_lastInputHere = Clock::now();
        return QObject::eventFilter(watched, event);
    }

private:
    static double secondsBetween(Clock::time_point from, Clock::time_point to)
    {
        return std::chrono::duration<double>(to - from).count();
    }

    const std::unique_ptr<wayland::IdleNotification> m_notification;
    std::optional<Clock::time_point> m_idleSince;     // absent as long as there was input just now
    Clock::time_point m_lastInputHere = Clock::now(); // in our windows
};

} // namespace

std::unique_ptr<IdleClock> createIdleClockWayland()
{
    auto notification = wayland::IdleNotification::create(kFirstTold);
    if (!notification)
        return nullptr;
    return std::make_unique<IdleClockWayland>(std::move(notification));
}

} // namespace corvella
