// A picture drawn whole into a screen's place, as large as fits, in the middle. Any thread.
#pragma once

#include "platform/pictures/DesktopPictures.h"

#include <QImage>
#include <QRect>

class QPainter;

namespace corvella {

// Where the picture comes to lie, in whole pixels. Neither may be empty.
[[nodiscard]] QRect fittedRect(QSize picture, const QRect &place);

// Reads a picture, whatever its name says that it is. Null when it cannot be read, which `failure`
// then tells why.
[[nodiscard]] QImage readPicture(const QString &file, Failure &failure);

// Fills the place with black and draws the file into it. Draws nothing when the file cannot be
// read.
[[nodiscard]] Failure drawFitted(QPainter &painter, const QString &file, const QRect &place);

} // namespace corvella
