#include "platform/session/FullScreenPlacement.h"
#include "platform/session/Screens.h"
#include "platform/session/WaylandGlobals.h"

#include <QEvent>
#include <QScreen>
#include <QWindow>

#define namespace namespace_ // the name of an argument there
#include <wlr-layer-shell-unstable-v1-client.h>
#undef namespace

#include <wayland-client.h>

namespace corvella {

namespace {

constexpr uint32_t kOldestVersion = 3;   // the first whose shell can be destroyed
constexpr uint32_t kOnDemandVersion = 4; // the first with keys for those who are chosen
constexpr uint32_t kEdges = ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM
    | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;

// From the surface's next picture on, clicks go to what lies beneath. Qt 6.4 does nothing here for
// its Qt::WindowTransparentForInput.
void passPointerThrough(wl_surface *surface)
{
    wl_compositor *const compositor = wayland::compositor();
    if (!surface || !compositor)
        return;
    const wayland::Owned<wl_region, wl_region_destroy> nothing(
        wl_compositor_create_region(compositor));
    wl_surface_set_input_region(surface, nothing.get());
}

class PlacementWayland final : public FullScreenPlacement
{
public:
    PlacementWayland(QWindow &window, PointerInput pointer)
        : m_window(window)
        , m_pointer(pointer)
    {
        makeFullScreen(m_window);
    }

    void bringUp() override
    {
        m_window.create();
        if (m_pointer == PointerInput::passedThrough)
            passPointerThrough(wayland::surfaceOf(m_window));
        m_window.setVisible(true);
    }

private:
    QWindow &m_window;
    const PointerInput m_pointer;
};

// The window's surface becomes one of the compositor's topmost layer, where no window of a program
// comes. To Qt it is a window that nobody manages.
class PlacementAboveAll final : public QObject, public FullScreenPlacement
{
public:
    PlacementAboveAll(QWindow &window, PointerInput pointer, KeyInput keys, Coverage coverage)
        : m_window(window)
        , m_pointer(pointer)
        , m_keys(keys)
        , m_coverage(coverage)
    {
        m_window.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        m_window.setGeometry(frameOf(*m_window.screen()));
        if (m_coverage == Coverage::onePixel)
            m_window.resize(1, 1);
        m_window.installEventFilter(this);
        // Said before the surface goes, with which its layer must not be left behind.
        connect(&m_window, &QWindow::visibleChanged, this, [this](bool isVisible) {
            if (!isVisible)
                m_layer.reset();
        });
    }

    void bringUp() override
    {
        m_window.create();
        wl_surface *const surface = wayland::surfaceOf(m_window);
        wl_output *const output = wayland::outputOf(*m_window.screen());
        const Shell shell(
            wayland::bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, kOnDemandVersion));
        if (!surface || !output || !shell)
            return; // its display just went
        m_layer.reset(zwlr_layer_shell_v1_get_layer_surface(
            shell.get(), surface, output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "corvella-wall"));
        static constexpr zwlr_layer_surface_v1_listener listener{
            [](void *self, zwlr_layer_surface_v1 *, uint32_t serial, uint32_t width,
               uint32_t height) {
                static_cast<PlacementAboveAll *>(self)->configure(
                    serial, QSize(static_cast<int>(width), static_cast<int>(height)));
            },
            [](void *self, zwlr_layer_surface_v1 *) {
                static_cast<PlacementAboveAll *>(self)->close();
            },
        };
        zwlr_layer_surface_v1_add_listener(m_layer.get(), &listener, this);
        if (m_coverage == Coverage::wholeScreen)
            zwlr_layer_surface_v1_set_anchor(m_layer.get(), kEdges);
        else
            setOnePixel();
        zwlr_layer_surface_v1_set_exclusive_zone(m_layer.get(), -1); // over panels, too
        if (m_keys == KeyInput::atOnce)
            zwlr_layer_surface_v1_set_keyboard_interactivity(
                m_layer.get(), ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE);
        if (m_pointer == PointerInput::passedThrough)
            passPointerThrough(surface);
        wl_surface_commit(surface);
    }

private:
    using Shell = wayland::Owned<zwlr_layer_shell_v1, zwlr_layer_shell_v1_destroy>;

    // Some compositors give the keys to whatever takes them as soon as it is up. So a wall that
    // waits to be chosen takes them from when the pointer comes, before the click.
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Enter && m_layer && m_keys == KeyInput::whenChosen)
            offerToTakeKeys();
        return QObject::eventFilter(watched, event);
    }

    void setOnePixel()
    {
        zwlr_layer_surface_v1_set_anchor(
            m_layer.get(), ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
        zwlr_layer_surface_v1_set_size(m_layer.get(), 1, 1);
    }

    void offerToTakeKeys()
    {
        if (zwlr_layer_surface_v1_get_version(m_layer.get()) < kOnDemandVersion)
            return;
        zwlr_layer_surface_v1_set_keyboard_interactivity(
            m_layer.get(), ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND);
        wl_surface_commit(wayland::surfaceOf(m_window));
    }

    // A picture before the first of these would be an error.
    void configure(uint32_t serial, QSize size)
    {
        zwlr_layer_surface_v1_ack_configure(m_layer.get(), serial);
        if (!size.isEmpty())
            m_window.resize(size);
        m_window.setVisible(true);
    }

    // Its output is gone, or the compositor wants it gone.
    void close()
    {
        m_layer.reset();
        m_window.setVisible(false);
    }

    QWindow &m_window;
    const PointerInput m_pointer;
    const KeyInput m_keys;
    const Coverage m_coverage;
    wayland::Owned<zwlr_layer_surface_v1, zwlr_layer_surface_v1_destroy> m_layer; // while it is up
};

} // namespace

std::unique_ptr<FullScreenPlacement> createPlacementAboveAll(QWindow &window, PointerInput pointer,
                                                             KeyInput keys, Coverage coverage)
{
    if (wayland::offeredVersion(zwlr_layer_shell_v1_interface) < kOldestVersion)
        return nullptr;
    return std::make_unique<PlacementAboveAll>(window, pointer, keys, coverage);
}

std::unique_ptr<FullScreenPlacement> createPlacementWayland(QWindow &window, PointerInput pointer)
{
    return std::make_unique<PlacementWayland>(window, pointer);
}

} // namespace corvella
