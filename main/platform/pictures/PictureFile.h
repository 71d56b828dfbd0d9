// Reads picture files. Any one thread.
#pragma once

#include "platform/pictures/DesktopPictures.h"

#include <QImage>

namespace corvella {

// A picture of the user's own or of ours, whatever its name says that it is. Null when it cannot be
// read, which `failure` then tells why.
[[nodiscard]] QImage readPicture(const QString &file, Failure &failure);

// A still, likewise. It comes from the imagery host, which may have sent anything: no more is read
// than a PNG or a JPEG of a still's size, and of a PNG nothing besides its pixels.
[[nodiscard]] QImage readStill(const QString &file, Failure &failure);
// The same with what is in the file.
[[nodiscard]] QImage stillIn(const QByteArray &bytes, Failure &failure);

} // namespace corvella
