#include "platform/session/InputLock.h"
#include "platform/session/WaylandGlobals.h"

#include <keyboard-shortcuts-inhibit-unstable-v1-client.h>

#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <vector>

namespace corvella {

namespace {

using Manager = wayland::Owned<zwp_keyboard_shortcuts_inhibit_manager_v1,
                               zwp_keyboard_shortcuts_inhibit_manager_v1_destroy>;
using Inhibitor = wayland::Owned<zwp_keyboard_shortcuts_inhibitor_v1,
                                 zwp_keyboard_shortcuts_inhibitor_v1_destroy>;

// The compositor hands its own key bindings over to the wall that has the keys.
class InputLockWayland final : public InputLock
{
public:
    explicit InputLockWayland(Manager manager)
        : m_manager(std::move(manager))
    {
        // A compositor that asks somebody first, or refuses, says nothing.
        m_patience.setSingleShot(true);
        connect(&m_patience, &QTimer::timeout, this, &InputLockWayland::report);
    }

    QString obstacle() const override
    {
        const bool isHeld = std::any_of(m_shares.begin(), m_shares.end(),
                                        [](const auto &share) { return share->isActive; });
        return isHeld ? QString()
                      : QStringLiteral("the compositor keeps its own keys, or asks somebody");
    }

    void setWalls(const QList<QWindow *> &walls) override
    {
        m_shares.clear();
        wl_seat *const seat = wayland::seat();
        for (QWindow *wall : walls) {
            if (wl_surface *const surface = wayland::surfaceOf(*wall); surface && seat)
                m_shares.push_back(std::make_unique<Share>(
                    *this,
                    zwp_keyboard_shortcuts_inhibit_manager_v1_inhibit_shortcuts(m_manager.get(),
                                                                                surface, seat)));
        }
        if (!walls.isEmpty())
            m_patience.start(kPatience);
    }

private:
    static constexpr std::chrono::milliseconds kPatience{1000};

    // One wall's.
    struct Share
    {
        Share(InputLockWayland &lock, zwp_keyboard_shortcuts_inhibitor_v1 *proxy)
            : owner(lock)
            , inhibitor(proxy)
        {
            static constexpr zwp_keyboard_shortcuts_inhibitor_v1_listener listener{
                [](void *self, zwp_keyboard_shortcuts_inhibitor_v1 *) {
                    static_cast<Share *>(self)->setActive(true);
                },
                [](void *self, zwp_keyboard_shortcuts_inhibitor_v1 *) {
                    static_cast<Share *>(self)->setActive(false);
                },
            };
            zwp_keyboard_shortcuts_inhibitor_v1_add_listener(inhibitor.get(), &listener, this);
        }

        void setActive(bool active)
        {
            isActive = active;
            owner.report();
        }

        InputLockWayland &owner;
        Inhibitor inhibitor;
        bool isActive = false;
    };

    void report()
    {
        m_patience.stop();
        const QString now = obstacle();
        if (m_reported != now) {
            m_reported = now;
            Q_EMIT changed();
        }
    }

    const Manager m_manager;
    QTimer m_patience;
    std::vector<std::unique_ptr<Share>> m_shares;
    std::optional<QString> m_reported;
};

} // namespace

std::unique_ptr<InputLock> createInputLockWayland()
{
    Manager manager(wayland::bind<zwp_keyboard_shortcuts_inhibit_manager_v1>(
        zwp_keyboard_shortcuts_inhibit_manager_v1_interface));
    if (!manager)
        return nullptr;
    return std::make_unique<InputLockWayland>(std::move(manager));
}

} // namespace corvella
