#include "platform/session/WaylandIdleNotification.h"

#include "platform/session/WaylandGlobals.h"

#include <ext-idle-notify-v1-client.h>
#include <kde-idle-client.h>

namespace corvella::wayland {

namespace {

constexpr uint32_t kInputAloneSince = 2;

// The standard one.
class ExtNotification final : public IdleNotification
{
public:
    ExtNotification(ext_idle_notifier_v1 &notifier, wl_seat *seat, uint32_t milliseconds)
        : m_heedsInputAlone(ext_idle_notifier_v1_get_version(&notifier) >= kInputAloneSince)
        , m_notification(
              m_heedsInputAlone
                  ? ext_idle_notifier_v1_get_input_idle_notification(&notifier, milliseconds, seat)
                  : ext_idle_notifier_v1_get_idle_notification(&notifier, milliseconds, seat))
    {
        static constexpr ext_idle_notification_v1_listener listener{
            [](void *self, ext_idle_notification_v1 *) {
                Q_EMIT static_cast<ExtNotification *>(self)->idled();
            },
            [](void *self, ext_idle_notification_v1 *) {
                Q_EMIT static_cast<ExtNotification *>(self)->resumed();
            },
        };
        ext_idle_notification_v1_add_listener(m_notification.get(), &listener, this);
    }

    [[nodiscard]] bool heedsInputAlone() const override { return m_heedsInputAlone; }

private:
    const bool m_heedsInputAlone;
    const Owned<ext_idle_notification_v1, ext_idle_notification_v1_destroy> m_notification;
};

// What older compositors have: sway 1.7, cage, KWin 5.
class KdeNotification final : public IdleNotification
{
public:
    KdeNotification(org_kde_kwin_idle &idle, wl_seat *seat, uint32_t milliseconds)
        : m_timeout(org_kde_kwin_idle_get_idle_timeout(&idle, seat, milliseconds))
    {
        static constexpr org_kde_kwin_idle_timeout_listener listener{
            [](void *self, org_kde_kwin_idle_timeout *) {
                Q_EMIT static_cast<KdeNotification *>(self)->idled();
            },
            [](void *self, org_kde_kwin_idle_timeout *) {
                Q_EMIT static_cast<KdeNotification *>(self)->resumed();
            },
        };
        org_kde_kwin_idle_timeout_add_listener(m_timeout.get(), &listener, this);
    }

    [[nodiscard]] bool heedsInputAlone() const override { return false; }

private:
    const Owned<org_kde_kwin_idle_timeout, org_kde_kwin_idle_timeout_release> m_timeout;
};

} // namespace

std::unique_ptr<IdleNotification> IdleNotification::create(std::chrono::milliseconds after)
{
    wl_seat *const someone = seat();
    if (!someone)
        return nullptr;
    const auto milliseconds = static_cast<uint32_t>(after.count());
    const Owned<ext_idle_notifier_v1, ext_idle_notifier_v1_destroy> notifier(
        bind<ext_idle_notifier_v1>(ext_idle_notifier_v1_interface, kInputAloneSince));
    if (notifier)
        return std::make_unique<ExtNotification>(*notifier, someone, milliseconds);
    const Owned<org_kde_kwin_idle, org_kde_kwin_idle_destroy> idle(
        bind<org_kde_kwin_idle>(org_kde_kwin_idle_interface));
    if (idle)
        return std::make_unique<KdeNotification>(*idle, someone, milliseconds);
    return nullptr;
}

} // namespace corvella::wayland
