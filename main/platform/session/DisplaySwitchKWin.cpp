#include "platform/session/DisplaySwitch.h"
#include "platform/session/WaylandGlobals.h"

#include <QGuiApplication>
#include <QScreen>

#include <kde-dpms-client.h>

namespace corvella {

namespace {

using Manager = wayland::Owned<org_kde_kwin_dpms_manager, org_kde_kwin_dpms_manager_destroy>;
using Control = wayland::Owned<org_kde_kwin_dpms, org_kde_kwin_dpms_release>;

class DisplaySwitchKWin final : public DisplaySwitch
{
public:
    explicit DisplaySwitchKWin(Manager manager)
        : m_manager(std::move(manager))
    {
    }

    void off() override
    {
        for (QScreen *const screen : QGuiApplication::screens()) {
            wl_output *const output = wayland::outputOf(*screen);
            if (!output)
                continue;
            const Control control(org_kde_kwin_dpms_manager_get(m_manager.get(), output));
            org_kde_kwin_dpms_set(control.get(), ORG_KDE_KWIN_DPMS_MODE_OFF);
        }
    }

private:
    const Manager m_manager;
};

} // namespace

std::unique_ptr<DisplaySwitch> createDisplaySwitchKWin()
{
    Manager manager(wayland::bind<org_kde_kwin_dpms_manager>(org_kde_kwin_dpms_manager_interface));
    return manager ? std::make_unique<DisplaySwitchKWin>(std::move(manager)) : nullptr;
}

} // namespace corvella
