// Which of Qt's platform plug-ins fits this machine: a Wayland or X11 desktop, or a bare console.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace corvella {

// What of this machine decides.
struct DisplayFacts
{
    bool waylandSocketAnswers = false;
    bool xServerAnswers = false;
    bool hasKmsDevice = false;   // /dev/dri/card*
    bool hasFramebuffer = false; // /dev/fb0

    [[nodiscard]] static DisplayFacts gather();
};

// The plug-in to use, best first in Qt's own notation; none where nothing can be shown at all.
[[nodiscard]] std::optional<QByteArray> platformPlugin(const DisplayFacts &facts);

// Sets QT_QPA_PLATFORM unless the user did. False when there is no display of any kind, with the
// log saying so. Call it before the application object is made.
[[nodiscard]] bool chooseDisplayServer();

} // namespace corvella
