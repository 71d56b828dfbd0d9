// A mouse of a test's own at a compositor: plugged in while the object lives. Main thread only.
#pragma once

#include "support/WaylandClient.h"

#include <QPoint>
#include <QSize>

#include <memory>

struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;

namespace corvella::test {

class WaylandPointer
{
public:
    // `layout` is the extent of all outputs, in the compositor's own points. Fails the test where
    // the mouse cannot be plugged in.
    WaylandPointer(const HeadlessSway &compositor, QSize layout);
    ~WaylandPointer();

    // These have been taken by the compositor when they return.
    // As a hand does it, by more than one movement: of the first, a window that the pointer enters
    // hears only that it is there.
    void moveTo(QPoint place);
    void click(int button = 0); // counted from the main one

private:
    // What was sent since the last of these is one movement or one press.
    void endFrame();
    void sendPlace(QPoint place);
    void sendButton(int button, quint32 state);

    struct Destroy
    {
        void operator()(zwlr_virtual_pointer_manager_v1 *manager) const;
        void operator()(zwlr_virtual_pointer_v1 *pointer) const;
    };
    const QSize m_layout;
    const WaylandClient m_client;
    const std::unique_ptr<zwlr_virtual_pointer_manager_v1, Destroy> m_manager;
    std::unique_ptr<zwlr_virtual_pointer_v1, Destroy> m_pointer;
};

} // namespace corvella::test
