#include "support/WaylandPointer.h"

#include "support/HeadlessSway.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <linux/input-event-codes.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>

namespace corvella::test {

namespace {

quint32 now()
{
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<quint32>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceBoot).count());
}

} // namespace

void WaylandPointer::Disconnect::operator()(wl_display *display) const
{
    wl_display_disconnect(display);
}

void WaylandPointer::Destroy::operator()(zwlr_virtual_pointer_manager_v1 *manager) const
{
    zwlr_virtual_pointer_manager_v1_destroy(manager);
}

void WaylandPointer::Destroy::operator()(zwlr_virtual_pointer_v1 *pointer) const
{
    zwlr_virtual_pointer_v1_destroy(pointer);
}

WaylandPointer::WaylandPointer(const HeadlessSway &compositor, QSize layout)
    : m_layout(layout)
    , m_display(wl_display_connect(qPrintable(compositor.socket())))
{
    if (m_display)
        plugIn();
    if (!m_pointer)
        ADD_FAILURE() << "no compositor that lets a test have a mouse";
}

WaylandPointer::~WaylandPointer() = default;

void WaylandPointer::plugIn()
{
    static constexpr wl_registry_listener listener{
        [](void *self, wl_registry *registry, uint32_t name, const char *interface, uint32_t) {
            const wl_interface &wanted = zwlr_virtual_pointer_manager_v1_interface;
            if (std::strcmp(interface, wanted.name) == 0)
                static_cast<WaylandPointer *>(self)->m_manager.reset(
                    static_cast<zwlr_virtual_pointer_manager_v1 *>(
                        wl_registry_bind(registry, name, &wanted, 1)));
        },
        [](void *, wl_registry *, uint32_t) {},
    };
    wl_registry *const registry = wl_display_get_registry(m_display.get());
    wl_registry_add_listener(registry, &listener, this);
    wl_display_roundtrip(m_display.get());
    wl_registry_destroy(registry);
    if (!m_manager)
        return;
    m_pointer.reset(
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m_manager.get(), nullptr));
    wl_display_roundtrip(m_display.get());
}

void WaylandPointer::endFrame()
{
    zwlr_virtual_pointer_v1_frame(m_pointer.get());
    wl_display_roundtrip(m_display.get());
}

void WaylandPointer::moveTo(QPoint place)
{
    sendPlace(place - QPoint(1, 1));
    sendPlace(place);
}

void WaylandPointer::sendPlace(QPoint place)
{
    zwlr_virtual_pointer_v1_motion_absolute(
        m_pointer.get(), now(), static_cast<quint32>(place.x()), static_cast<quint32>(place.y()),
        static_cast<quint32>(m_layout.width()), static_cast<quint32>(m_layout.height()));
    endFrame();
}

void WaylandPointer::sendButton(int button, quint32 state)
{
    zwlr_virtual_pointer_v1_button(m_pointer.get(), now(), static_cast<quint32>(BTN_LEFT + button),
                                   state);
    endFrame();
}

void WaylandPointer::click(int button)
{
    sendButton(button, WL_POINTER_BUTTON_STATE_PRESSED);
    sendButton(button, WL_POINTER_BUTTON_STATE_RELEASED);
}

} // namespace corvella::test
