#include "support/WaylandPointer.h"

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>

namespace corvella::test {

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
    , m_client(compositor)
    , m_manager(
          m_client.bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface))
{
    if (!m_manager) {
        ADD_FAILURE() << "no compositor that lets a test have a mouse";
        return;
    }
    m_pointer.reset(
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m_manager.get(), nullptr));
    m_client.roundTrip();
}

WaylandPointer::~WaylandPointer() = default;

void WaylandPointer::endFrame()
{
    zwlr_virtual_pointer_v1_frame(m_pointer.get());
    m_client.roundTrip();
}

void WaylandPointer::moveTo(QPoint place)
{
    sendPlace(place - QPoint(1, 1));
    sendPlace(place);
}

void WaylandPointer::sendPlace(QPoint place)
{
    zwlr_virtual_pointer_v1_motion_absolute(
        m_pointer.get(), inputTime(), static_cast<quint32>(place.x()),
        static_cast<quint32>(place.y()), static_cast<quint32>(m_layout.width()),
        static_cast<quint32>(m_layout.height()));
    endFrame();
}

void WaylandPointer::sendButton(int button, quint32 state)
{
    zwlr_virtual_pointer_v1_button(m_pointer.get(), inputTime(),
                                   static_cast<quint32>(BTN_LEFT + button), state);
    endFrame();
}

void WaylandPointer::click(int button)
{
    sendButton(button, WL_POINTER_BUTTON_STATE_PRESSED);
    sendButton(button, WL_POINTER_BUTTON_STATE_RELEASED);
}

} // namespace corvella::test
