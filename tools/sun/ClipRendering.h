#pragma once

#include "ClipWriter.h"
#include "Sun.h"

namespace corvella::sun {

// Which stretch of the Sun's time a clip shows.
struct ClipSpan
{
    Product product = Product::Aia171;
    double startHours = 0;
    double lengthHours = 48; // the last frame shows startHours + lengthHours
    int frames = 480;
    bool marked = false; // with the machine-readable frame number
};

// Renders a clip into a file, with progress on stderr. Empty when all went well, else the reason.
QString renderClip(const Sun &sun, const ClipSpan &span, const QString &path,
                   const ClipOptions &options);

} // namespace corvella::sun
