// The borderless window that covers one screen with its wall.
#pragma once

#include "platform/layers/LayerWindow.h"
#include "platform/session/FullScreenPlacement.h"

namespace corvella {

class WallWindow final : public LayerWindow
{
    Q_OBJECT

public:
    // A window for `tree`, which must outlive it, over the whole of `screen`; not shown yet.
    WallWindow(LayerTree &tree, QScreen *screen, PointerInput input);

protected:
    void exposeEvent(QExposeEvent *event) override;

private:
    bool m_wasExposed = false;
};

} // namespace corvella
