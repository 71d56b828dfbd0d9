#include "platform/session/WaylandGlobals.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <qpa/qplatformnativeinterface.h>
#include <qpa/qplatformscreen.h>

#include <wayland-client.h>

#include <algorithm>
#include <string>
#include <vector>

namespace corvella::wayland {

namespace {

wl_display *display()
{
    if (!isWaylandSession())
        return nullptr;
    QPlatformNativeInterface *const native = QGuiApplication::platformNativeInterface();
    return static_cast<wl_display *>(native->nativeResourceForIntegration("wl_display"));
}

// The compositor's list, kept current. It lives as long as Qt's connection: until the process ends.
class Registry
{
public:
    static const Registry &shared()
    {
        static const Registry *const registry = new Registry(display());
        return *registry;
    }

    [[nodiscard]] uint32_t version(const wl_interface &interface) const
    {
        const Global *const global = find(interface);
        return global ? global->version : 0;
    }

    [[nodiscard]] void *bind(const wl_interface &interface, uint32_t version) const
    {
        const Global *const global = find(interface);
        if (!global)
            return nullptr;
        return wl_registry_bind(m_registry, global->name, &interface,
                                std::min(version, global->version));
    }

private:
    struct Global
    {
        uint32_t name = 0;
        std::string interface;
        uint32_t version = 0;
    };

    explicit Registry(wl_display *display)
    {
        if (!display)
            return;
        m_registry = wl_display_get_registry(display);
        static constexpr wl_registry_listener listener{
            [](void *self, wl_registry *, uint32_t name, const char *interface, uint32_t version) {
                static_cast<Registry *>(self)->m_globals.push_back({name, interface, version});
            },
            [](void *self, wl_registry *, uint32_t name) {
                std::erase_if(static_cast<Registry *>(self)->m_globals,
                              [name](const Global &global) { return global.name == name; });
            },
        };
        wl_registry_add_listener(m_registry, &listener, this);
        wl_display_roundtrip(display);
    }

    [[nodiscard]] const Global *find(const wl_interface &interface) const
    {
        const auto found =
            std::find_if(m_globals.begin(), m_globals.end(), [&interface](const Global &global) {
                return global.interface == interface.name;
            });
        return found == m_globals.end() ? nullptr : &*found;
    }

    wl_registry *m_registry = nullptr;
    std::vector<Global> m_globals;
};

} // namespace

bool isWaylandSession()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

uint32_t offeredVersion(const wl_interface &interface)
{
    return Registry::shared().version(interface);
}

void *bindGlobal(const wl_interface &interface, uint32_t version)
{
    return Registry::shared().bind(interface, version);
}

wl_compositor *compositor()
{
    if (!isWaylandSession())
        return nullptr;
    QPlatformNativeInterface *const native = QGuiApplication::platformNativeInterface();
    return static_cast<wl_compositor *>(native->nativeResourceForIntegration("compositor"));
}

void flush()
{
    if (wl_display *const server = display())
        wl_display_flush(server);
}

wl_seat *seat()
{
    if (!isWaylandSession())
        return nullptr;
    QPlatformNativeInterface *const native = QGuiApplication::platformNativeInterface();
    return static_cast<wl_seat *>(native->nativeResourceForIntegration("wl_seat"));
}

wl_surface *surfaceOf(QWindow &window)
{
    if (!isWaylandSession() || !window.handle())
        return nullptr;
    QPlatformNativeInterface *const native = QGuiApplication::platformNativeInterface();
    return static_cast<wl_surface *>(native->nativeResourceForWindow("surface", &window));
}

wl_output *outputOf(QScreen &screen)
{
    // Asked about the placeholder where no display is left, Qt 6.4 answers with a wild pointer.
    if (!isWaylandSession() || screen.handle()->isPlaceholder())
        return nullptr;
    QPlatformNativeInterface *const native = QGuiApplication::platformNativeInterface();
    return static_cast<wl_output *>(native->nativeResourceForScreen("output", &screen));
}

} // namespace corvella::wayland
