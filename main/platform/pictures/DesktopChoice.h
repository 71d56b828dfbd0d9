// Which desktop shows the pictures: a pure decision over what is really running.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace corvella {

enum class PictureDesktop {
    plasma,
    cinnamon,
    mate,
    gnome, // and those who keep its settings: Budgie
    xfce,
    lxqt,
    sway,
    layers, // a compositor that shows what lies on its lowest layer
    x11,    // the root window, where no desktop covers it
    portal,
    nobody,
};

struct DesktopFacts
{
    QStringList services = {};      // that run on the session's bus
    QStringList calledDesktop = {}; // what the session calls itself: XDG_CURRENT_DESKTOP
    bool isSway = false;            // answers, and can show pictures
    bool hasLayers = false;         // and there is a program to show pictures on them
    bool isRootVisible = false;
    bool hasPortal = false; // that sets pictures
};

// What is running decides; what the session calls itself does where several are, and where none is:
// a desktop may still be on its way up, and what it would cover is not to be touched.
[[nodiscard]] PictureDesktop chooseDesktop(const DesktopFacts &facts);

// Whether the desktop that is chosen is not there yet, and takes no picture before it is.
[[nodiscard]] bool isAwaited(const DesktopFacts &facts);

// Its name in what is remembered of it. Empty for those that are put back by letting go.
[[nodiscard]] QString idOf(PictureDesktop desktop);

// For the log.
[[nodiscard]] QString nameOf(PictureDesktop desktop);

} // namespace corvella
