// A display as those see it who draw desktops. A plain value; any thread.
#pragma once

#include "platform/session/Screens.h"

#include <QList>
#include <QRect>
#include <QString>

namespace corvella {

struct PictureScreen
{
    QString name; // of its connector, "DP-1"
    QRect place;  // in the display server's own coordinates: pixels for X11, points for Wayland
    double density = 1; // pixels per unit of these

    bool operator==(const PictureScreen &) const = default;
};

// The displays in the order given. Main thread only.
[[nodiscard]] QList<PictureScreen> pictureScreens(const QList<Screen> &screens);

} // namespace corvella
