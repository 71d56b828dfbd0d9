// What the Wayland compositor offers beyond what Qt speaks, over Qt's own connection. Included by
// Wayland back-ends only. Main thread only: the event loop delivers the events of what is bound
// here.
#pragma once

#include <cstdint>
#include <memory>

struct wl_compositor;
struct wl_interface;
struct wl_output;
struct wl_seat;
struct wl_surface;

class QScreen;
class QWindow;

namespace corvella::wayland {

// Whether this program is shown by a Wayland compositor.
[[nodiscard]] bool isWaylandSession();

// The version of a global that the compositor offers at this moment: 0 for none, or where there is
// no compositor. The first call waits for the compositor's list.
[[nodiscard]] uint32_t offeredVersion(const wl_interface &interface);

// Binds a global in this version at most. Null where it is not offered. Prefer bind().
[[nodiscard]] void *bindGlobal(const wl_interface &interface, uint32_t version);

// The caller's to destroy, before the application object goes, as all that is made of it.
template <typename Global>
[[nodiscard]] Global *bind(const wl_interface &interface, uint32_t version = 1)
{
    return static_cast<Global *>(bindGlobal(interface, version));
}

// Sends now what was asked for. Otherwise the event loop does, as long as it runs.
void flush();

// Qt's own objects, never to be destroyed. Null where there is none: no compositor, no seat, a
// window that was not created or is hidden, the screen that Qt makes up where no display is left.
[[nodiscard]] wl_compositor *compositor();
[[nodiscard]] wl_seat *seat();
[[nodiscard]] wl_surface *surfaceOf(QWindow &window);
[[nodiscard]] wl_output *outputOf(QScreen &screen);

// Owns a proxy, which the protocol's own request destroys: Owned<zwp_idle_inhibitor_v1,
// zwp_idle_inhibitor_v1_destroy>.
template <auto destroy> struct Destroy
{
    template <typename Proxy> void operator()(Proxy *proxy) const { destroy(proxy); }
};
template <typename Proxy, auto destroy> using Owned = std::unique_ptr<Proxy, Destroy<destroy>>;

} // namespace corvella::wayland
