#include "log.h"
#include "platform/session/DisplaySwitch.h"
#include "platform/session/WaylandGlobals.h"
#include "platform/session/WaylandIdleNotification.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

#include <wlr-output-power-management-unstable-v1-client.h>

namespace corvella {

namespace {

using PowerManager =
    wayland::Owned<zwlr_output_power_manager_v1, zwlr_output_power_manager_v1_destroy>;
using OutputPower = wayland::Owned<zwlr_output_power_v1, zwlr_output_power_v1_destroy>;

constexpr std::chrono::milliseconds kRest{1000};
constexpr std::chrono::seconds kPatience{10};

// The displays go off when the input rests, since what tells of that will tell of the next input,
// too; where nothing does, they stay on rather than off for good.
class DisplaySwitchWlr final : public QObject, public DisplaySwitch
{
public:
    explicit DisplaySwitchWlr(PowerManager manager)
        : m_manager(std::move(manager))
    {
        m_patience.setSingleShot(true);
        m_patience.setInterval(kPatience);
        connect(&m_patience, &QTimer::timeout, this, &DisplaySwitchWlr::giveUp);
    }

    // Nobody else would wake them.
    ~DisplaySwitchWlr() override
    {
        if (!m_areOff)
            return;
        setAll(ZWLR_OUTPUT_POWER_V1_MODE_ON);
        wayland::flush();
    }

    void off() override
    {
        if (m_areOff)
            return;
        m_notification = wayland::IdleNotification::create(kRest);
        if (!m_notification)
            return giveUp();
        m_patience.start();
        connect(m_notification.get(), &wayland::IdleNotification::idled, this,
                [this] { switchOff(); });
        connect(m_notification.get(), &wayland::IdleNotification::resumed, this,
                [this] { wake(); });
    }

private:
    void switchOff()
    {
        m_patience.stop();
        m_areOff = true;
        setAll(ZWLR_OUTPUT_POWER_V1_MODE_OFF);
    }

    void wake()
    {
        m_areOff = false;
        setAll(ZWLR_OUTPUT_POWER_V1_MODE_ON);
        m_notification.release()->deleteLater(); // it is telling us
    }

    void giveUp()
    {
        m_notification.reset();
        log(QStringLiteral("display sleep: the displays stay on, since nothing would tell when to "
                           "wake them"));
    }

    void setAll(uint32_t mode) const
    {
        for (QScreen *const screen : QGuiApplication::screens()) {
            wl_output *const output = wayland::outputOf(*screen);
            if (!output)
                continue;
            const OutputPower control(
                zwlr_output_power_manager_v1_get_output_power(m_manager.get(), output));
            zwlr_output_power_v1_set_mode(control.get(), mode);
        }
    }

    const PowerManager m_manager;
    std::unique_ptr<wayland::IdleNotification> m_notification; // from off() to the next input
    QTimer m_patience;
    bool m_areOff = false;
};

} // namespace

std::unique_ptr<DisplaySwitch> createDisplaySwitchWlr()
{
    PowerManager manager(
        wayland::bind<zwlr_output_power_manager_v1>(zwlr_output_power_manager_v1_interface));
    return manager ? std::make_unique<DisplaySwitchWlr>(std::move(manager)) : nullptr;
}

} // namespace corvella
