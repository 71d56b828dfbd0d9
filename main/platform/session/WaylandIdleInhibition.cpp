#include "platform/session/WaylandIdleInhibition.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

#include <idle-inhibit-unstable-v1-client.h>

namespace corvella::wayland {

namespace {

int heldCount = 0; // inhibitors, in all

} // namespace

void IdleInhibition::DestroyManager::operator()(zwp_idle_inhibit_manager_v1 *manager) const
{
    zwp_idle_inhibit_manager_v1_destroy(manager);
}

void IdleInhibition::DestroyInhibitor::operator()(zwp_idle_inhibitor_v1 *inhibitor) const
{
    zwp_idle_inhibitor_v1_destroy(inhibitor);
    --heldCount;
}

std::unique_ptr<IdleInhibition> IdleInhibition::create()
{
    auto *const manager = bind<zwp_idle_inhibit_manager_v1>(zwp_idle_inhibit_manager_v1_interface);
    return manager ? std::unique_ptr<IdleInhibition>(new IdleInhibition(manager)) : nullptr;
}

IdleInhibition::IdleInhibition(zwp_idle_inhibit_manager_v1 *manager)
    : m_manager(manager)
{
    qGuiApp->installEventFilter(this);
    for (QWindow *const window : QGuiApplication::topLevelWindows())
        follow(*window);
}

IdleInhibition::~IdleInhibition() = default;

bool IdleInhibition::isHeld()
{
    return heldCount > 0;
}

bool IdleInhibition::eventFilter(QObject *watched, QEvent *event)
{
    // A window has its surface from the first exposure on, and loses it when it is hidden.
    if (watched->isWindowType()
        && (event->type() == QEvent::Expose || event->type() == QEvent::Hide))
        follow(*static_cast<QWindow *>(watched));
    return QObject::eventFilter(watched, event);
}

void IdleInhibition::follow(QWindow &window)
{
    wl_surface *const surface = window.isExposed() ? surfaceOf(window) : nullptr;
    if (!surface)
        return letGo(&window);
    if (m_inhibitors.contains(&window))
        return;
    m_inhibitors.emplace(&window,
                         zwp_idle_inhibit_manager_v1_create_inhibitor(m_manager.get(), surface));
    ++heldCount;
    connect(&window, &QObject::destroyed, this, &IdleInhibition::letGo);
}

void IdleInhibition::letGo(const QObject *window)
{
    if (m_inhibitors.erase(window) > 0)
        disconnect(window, &QObject::destroyed, this, &IdleInhibition::letGo);
}

} // namespace corvella::wayland
