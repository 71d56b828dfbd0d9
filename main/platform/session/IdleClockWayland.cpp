#include "platform/session/IdleClock.h"
#include "platform/session/InputHere.h"
#include "platform/session/WaylandIdleInhibition.h"
#include "platform/session/WaylandIdleNotification.h"

#include <optional>

namespace corvella {

namespace {

using Clock = InputHere::Clock;

// Compositors tell of moments and do not count: after this long without input, and with the first
// input after that. Of no time at all they would tell with every single event.
constexpr std::chrono::milliseconds kFirstTold{1000};

class IdleClockWayland final : public QObject, public IdleClock
{
public:
    explicit IdleClockWayland(std::unique_ptr<wayland::IdleNotification> notification)
        : m_notification(std::move(notification))
    {
        connect(m_notification.get(), &wayland::IdleNotification::idled, this,
                [this] { m_idleSince = Clock::now() - kFirstTold; });
        connect(m_notification.get(), &wayland::IdleNotification::resumed, this,
                &IdleClockWayland::resume);
    }

    double secondsIdle() override
    {
        const Clock::time_point now = Clock::now();
        if (isCompositorSilent()) {
            const Clock::time_point last = m_inputHere.last();
            if (m_idleSince)
                m_idleSince = last; // where the compositor goes on
            return std::chrono::duration<double>(now - last).count();
        }
        m_inputHere.restart(m_idleSince.value_or(now)); // where a wall goes on
        return m_idleSince ? std::chrono::duration<double>(now - *m_idleSince).count() : 0;
    }

private:
    // As while a wall of ours keeps the display awake; the wall itself sees what input there is to
    // see.
    [[nodiscard]] bool isCompositorSilent() const
    {
        return wayland::IdleInhibition::isHeld() && !m_notification->heedsInputAlone();
    }

    void resume()
    {
        m_idleSince.reset();
        // Some compositors say so when a wall begins to keep the display awake.
        if (!isCompositorSilent())
            m_inputHere.restart(Clock::now());
    }

    const std::unique_ptr<wayland::IdleNotification> m_notification;
    // Absent as long as the compositor does not count us as idle.
    std::optional<Clock::time_point> m_idleSince;
    InputHere m_inputHere;
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
