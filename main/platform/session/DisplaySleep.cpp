#include "platform/session/DisplaySleep.h"

#include "log.h"
#include "platform/session/DisplaySwitch.h"
#include "platform/session/SessionLock.h"

#include <QTimer>

namespace corvella {

namespace {

// The displays stay on at least until the key or button that asked for this is up again: its
// release would wake them.
constexpr std::chrono::milliseconds kUntilReleased{1000};

class SessionDisplaySleep final : public DisplaySleep
{
public:
    SessionDisplaySleep()
        : m_switch(DisplaySwitch::create())
    {
        m_untilReleased.setSingleShot(true);
        m_untilReleased.setInterval(kUntilReleased);
        QObject::connect(&m_untilReleased, &QTimer::timeout, &m_untilReleased,
                         [this] { switchOffWhenReady(); });
        QObject::connect(&m_lock, &SessionLock::finished, &m_untilReleased,
                         [this] { switchOffWhenReady(); });
    }

    void begin() override
    {
        if (m_untilReleased.isActive() || m_lock.isLocking())
            return;
        m_untilReleased.start();
        m_lock.begin();
    }

private:
    void switchOffWhenReady()
    {
        if (m_untilReleased.isActive() || m_lock.isLocking() || m_lock.switchesDisplaysOff())
            return;
        if (m_switch)
            m_switch->off();
        else
            log(QStringLiteral("display sleep: nothing here switches the displays off"));
    }

    const std::unique_ptr<DisplaySwitch> m_switch; // null where there is none
    SessionLock m_lock;
    QTimer m_untilReleased;
};

} // namespace

std::unique_ptr<DisplaySleep> DisplaySleep::create()
{
    return std::make_unique<SessionDisplaySleep>();
}

} // namespace corvella
