// The borderless window that covers one screen with its wall, and what lies over the wall there. It
// can always have the keys. Main thread only.
#pragma once

#include "platform/layers/LayerWindow.h"
#include "platform/session/FullScreenPlacement.h"
#include "shell/Chrome.h"

#include <QPointer>
#include <QScreen>

#include <functional>

namespace corvella {

class WallWindow final : public LayerWindow
{
    Q_OBJECT

public:
    // Where something lies on a wall of this size, in points.
    using Placement = std::function<QRectF(QSizeF wall)>;

    // A window for `tree`, which must outlive it, over the whole of `screen`; not shown yet.
    WallWindow(LayerTree &tree, QScreen *screen, PointerInput pointer, KeyInput keys);
    ~WallWindow() override;

    // Shows it, at once or when the display server has made room for it.
    void bringUp();

    // Puts it over the wall and keeps it in its place when the wall changes its size. Returns it;
    // the tree owns it from now on.
    template <typename AnyChrome>
    AnyChrome *addChrome(std::unique_ptr<AnyChrome> chrome, const Placement &placement)
    {
        AnyChrome *const added = chrome.get();
        adopt(std::move(chrome), placement);
        return added;
    }
    // Says something to the viewer in the lower middle of the wall, for a few seconds.
    void showHint(const QString &text);

    // Whether it is up and covers the screen it was made for. A display that goes may take it
    // along, or leave it to a window manager that puts it elsewhere.
    [[nodiscard]] bool isInPlace() const;

    // Whether the pointer is over this window's part of the displays.
    [[nodiscard]] bool isUnderPointer() const;

    // Bottom to top.
    [[nodiscard]] const std::vector<Chrome *> &chrome() const { return m_chrome; }
    // A place of the tree on the displays, in the platform's global coordinates.
    [[nodiscard]] QRect onDisplay(const QRectF &rect) const;

    [[nodiscard]] QAccessibleInterface *accessibleRoot() const override;

protected:
    void exposeEvent(QExposeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    // Only the program takes a wall down, never a window manager.
    void closeEvent(QCloseEvent *event) override;
    bool event(QEvent *event) override;

private:
    void adopt(std::unique_ptr<Chrome> chrome, const Placement &placement);
    QMetaObject::Connection keepInPlace(Layer &layer, const Placement &placement);

    LayerTree &m_tree;
    const QPointer<QScreen> m_home;
    const std::unique_ptr<FullScreenPlacement> m_fullScreen;
    std::vector<Chrome *> m_chrome; // owned by the tree
    bool m_wasExposed = false;
    bool m_entered = false; // by the pointer
};

} // namespace corvella
