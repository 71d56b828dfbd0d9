#include "platform/session/FullScreenPlacement.h"
#include "platform/session/InputLock.h"
#include "platform/session/WaylandGlobals.h"

#include <keyboard-shortcuts-inhibit-unstable-v1-client.h>

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace corvella {

namespace {

using Manager = wayland::Owned<zwp_keyboard_shortcuts_inhibit_manager_v1,
                               zwp_keyboard_shortcuts_inhibit_manager_v1_destroy>;
using Inhibitor = wayland::Owned<zwp_keyboard_shortcuts_inhibitor_v1,
                                 zwp_keyboard_shortcuts_inhibitor_v1_destroy>;

// A window that nobody sees.
class InvisibleWindow final : public QRasterWindow
{
public:
    InvisibleWindow()
    {
        QSurfaceFormat withAlpha = format();
        withAlpha.setAlphaBufferSize(8);
        setFormat(withAlpha);
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.fillRect(QRect(QPoint(0, 0), size()), Qt::transparent);
    }
};

// The compositor hands its own key bindings over to the window of ours that has the keys: a wall
// or, while walls are built anew, one of a single pixel that stays.
class InputLockWayland final : public InputLock
{
public:
    explicit InputLockWayland(Manager manager)
        : m_manager(std::move(manager))
    {
        // A compositor that asks somebody first, or refuses, says nothing.
        m_patience.setSingleShot(true);
        connect(&m_patience, &QTimer::timeout, this, &InputLockWayland::report);
        connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this,
                &InputLockWayland::openKeyhole);
        openKeyhole();
    }

    ~InputLockWayland() override { closeKeyhole(); }

    QString obstacle() const override
    {
        const bool isHeld = (m_keyholeShare && m_keyholeShare->isActive)
            || std::any_of(m_shares.begin(), m_shares.end(),
                           [](const auto &share) { return share->isActive; });
        return isHeld ? QString()
                      : QStringLiteral("the compositor keeps its own keys, or asks somebody");
    }

    void setWalls(const QList<QWindow *> &walls) override
    {
        m_shares.clear();
        for (QWindow *wall : walls) {
            if (auto share = inhibit(*wall))
                m_shares.push_back(std::move(share));
        }
        if (!walls.isEmpty())
            m_patience.start(kPatience);
    }

private:
    static constexpr std::chrono::milliseconds kPatience{1000};

    // One window's.
    struct Share
    {
        Share(InputLockWayland &lock, zwp_keyboard_shortcuts_inhibitor_v1 *proxy)
            : owner(lock)
            , inhibitor(proxy)
        {
            static constexpr zwp_keyboard_shortcuts_inhibitor_v1_listener listener{
                [](void *self, zwp_keyboard_shortcuts_inhibitor_v1 *) {
                    static_cast<Share *>(self)->setActive(true);
                },
                [](void *self, zwp_keyboard_shortcuts_inhibitor_v1 *) {
                    static_cast<Share *>(self)->setActive(false);
                },
            };
            zwp_keyboard_shortcuts_inhibitor_v1_add_listener(inhibitor.get(), &listener, this);
        }

        void setActive(bool active)
        {
            isActive = active;
            owner.report();
        }

        InputLockWayland &owner;
        Inhibitor inhibitor;
        bool isActive = false;
    };

    [[nodiscard]] std::unique_ptr<Share> inhibit(QWindow &window)
    {
        wl_surface *const surface = wayland::surfaceOf(window);
        wl_seat *const seat = wayland::seat();
        if (!surface || !seat)
            return nullptr;
        return std::make_unique<Share>(*this,
                                       zwp_keyboard_shortcuts_inhibit_manager_v1_inhibit_shortcuts(
                                           m_manager.get(), surface, seat));
    }

    // On the main screen, and on the next one when that goes.
    void openKeyhole()
    {
        closeKeyhole();
        m_keyhole = std::make_unique<InvisibleWindow>();
        m_placement = createPlacementAboveAll(*m_keyhole, PointerInput::passedThrough,
                                              KeyInput::atOnce, Coverage::onePixel);
        if (!m_placement)
            return m_keyhole.reset();
        m_placement->bringUp();
        m_keyholeShare = inhibit(*m_keyhole);
    }

    void closeKeyhole()
    {
        m_keyholeShare.reset();
        m_placement.reset();
        m_keyhole.reset();
    }

    void report()
    {
        m_patience.stop();
        const QString now = obstacle();
        if (m_reported != now) {
            m_reported = now;
            Q_EMIT changed();
        }
    }

    const Manager m_manager;
    QTimer m_patience;
    std::vector<std::unique_ptr<Share>> m_shares; // the walls'
    // Where the compositor has a place above all windows, which alone can take the keys by itself.
    std::unique_ptr<InvisibleWindow> m_keyhole;
    std::unique_ptr<FullScreenPlacement> m_placement;
    std::unique_ptr<Share> m_keyholeShare;
    std::optional<QString> m_reported;
};

} // namespace

std::unique_ptr<InputLock> createInputLockWayland()
{
    Manager manager(wayland::bind<zwp_keyboard_shortcuts_inhibit_manager_v1>(
        zwp_keyboard_shortcuts_inhibit_manager_v1_interface));
    if (!manager)
        return nullptr;
    return std::make_unique<InputLockWayland>(std::move(manager));
}

} // namespace corvella
