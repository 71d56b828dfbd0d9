#include "platform/session/FullScreenPlacement.h"
#include "platform/session/XcbConnection.h"

#include <QVariant>
#include <QWindow>

#include <xcb/shape.h>

#include <array>

namespace corvella {

namespace {

class PlacementX11 final : public FullScreenPlacement
{
public:
    PlacementX11(QWindow &window, PointerInput pointer, KeyInput keys, xcb_connection_t *server)
        : m_window(window)
        , m_server(server)
    {
        makeFullScreen(m_window);
        // To Qt and, by the time of zero that Qt then gives for the last touch, to the manager.
        m_window.setProperty("_q_showWithoutActivating", keys == KeyInput::whenChosen);
        keepOffTaskbars();
        makeBlack();
        if (pointer == PointerInput::passedThrough)
            passPointerThrough();
    }

    void bringUp() override { m_window.setVisible(true); }

    void finish() override
    {
        constexpr uint32_t kAllWorkspaces = 0xFFFFFFFF;
        x11::askManager(m_server, id(), "_NET_WM_DESKTOP", {kAllWorkspaces, x11::kFromPager});
    }

private:
    void keepOffTaskbars()
    {
        // Added to what Qt writes there before it maps the window, and read by the manager once,
        // then: a message afterwards gets lost between the two now and then.
        const std::array states{x11::atom(m_server, "_NET_WM_STATE_SKIP_TASKBAR"),
                                x11::atom(m_server, "_NET_WM_STATE_SKIP_PAGER")};
        xcb_change_property(m_server, XCB_PROP_MODE_APPEND, id(),
                            x11::atom(m_server, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(),
                            states.data());
    }

    // Where the window's points do not make up its last column or row of pixels, nobody draws.
    void makeBlack()
    {
        constexpr uint32_t kBlack = 0;
        xcb_change_window_attributes(m_server, id(), XCB_CW_BACK_PIXEL, &kBlack);
    }

    void passPointerThrough()
    {
        // An input shape without a single rectangle: clicks go to what lies beneath, keys still
        // come.
        xcb_shape_rectangles(m_server, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, id(), 0, 0, 0, nullptr);
    }

    [[nodiscard]] xcb_window_t id() const { return static_cast<xcb_window_t>(m_window.winId()); }

    QWindow &m_window;
    xcb_connection_t *const m_server; // Qt's
};

} // namespace

std::unique_ptr<FullScreenPlacement> createPlacementX11(QWindow &window, PointerInput pointer,
                                                        KeyInput keys)
{
    return std::make_unique<PlacementX11>(window, pointer, keys, x11::applicationConnection());
}

} // namespace corvella
