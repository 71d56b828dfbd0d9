#include "support/WaylandClient.h"

#include "support/HeadlessSway.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <wayland-client.h>

namespace corvella::test {

void WaylandClient::Disconnect::operator()(wl_display *display) const
{
    wl_display_disconnect(display);
}

WaylandClient::WaylandClient(const HeadlessSway &compositor)
    : m_display(wl_display_connect(qPrintable(compositor.socket())))
{
    if (!m_display)
        ADD_FAILURE() << "no compositor answers";
}

void *WaylandClient::bound(const wl_interface &kind) const
{
    struct Search
    {
        const wl_interface &kind;
        void *found = nullptr;
    };
    static constexpr wl_registry_listener listener{
        [](void *data, wl_registry *registry, uint32_t name, const char *interface, uint32_t) {
            auto *const search = static_cast<Search *>(data);
            if (std::strcmp(interface, search->kind.name) == 0)
                search->found = wl_registry_bind(registry, name, &search->kind, 1);
        },
        [](void *, wl_registry *, uint32_t) {},
    };
    if (!m_display)
        return nullptr;
    Search search{kind};
    wl_registry *const registry = wl_display_get_registry(m_display.get());
    wl_registry_add_listener(registry, &listener, &search);
    roundTrip();
    wl_registry_destroy(registry);
    return search.found;
}

void WaylandClient::roundTrip() const
{
    wl_display_roundtrip(m_display.get());
}

quint32 inputTime()
{
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<quint32>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceBoot).count());
}

} // namespace corvella::test
