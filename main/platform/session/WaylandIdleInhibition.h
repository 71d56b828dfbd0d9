// Asks a Wayland compositor to keep the displays on while a window of ours is visible. Included by
// Wayland back-ends only. Main thread only.
#pragma once

#include "platform/session/WaylandGlobals.h"

#include <QObject>

#include <map>

struct zwp_idle_inhibit_manager_v1;
struct zwp_idle_inhibitor_v1;

namespace corvella::wayland {

// An inhibitor belongs to a surface, so there is one for each window that is on a screen, those
// that come later included.
class IdleInhibition : public QObject
{
    Q_OBJECT

public:
    // Null where the compositor does not offer it.
    [[nodiscard]] static std::unique_ptr<IdleInhibition> create();
    ~IdleInhibition() override;

    // Whether one of ours stands now. Then compositors say nothing of idleness.
    [[nodiscard]] static bool isHeld();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    explicit IdleInhibition(zwp_idle_inhibit_manager_v1 *manager);
    void follow(QWindow &window);
    void letGo(const QObject *window);

    struct DestroyManager
    {
        void operator()(zwp_idle_inhibit_manager_v1 *manager) const;
    };
    struct DestroyInhibitor
    {
        void operator()(zwp_idle_inhibitor_v1 *inhibitor) const;
    };
    const std::unique_ptr<zwp_idle_inhibit_manager_v1, DestroyManager> m_manager;
    std::map<const QObject *, std::unique_ptr<zwp_idle_inhibitor_v1, DestroyInhibitor>>
        m_inhibitors; // by window
};

} // namespace corvella::wayland
