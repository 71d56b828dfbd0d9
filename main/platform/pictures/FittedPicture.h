// A picture drawn whole into a screen's place, as large as fits, in the middle. Any thread.
#pragma once

#include <QImage>
#include <QRect>

class QPainter;

namespace corvella {

// Where the picture comes to lie, in whole pixels. Neither may be empty.
[[nodiscard]] QRect fittedRect(QSize picture, const QRect &place);

// Fills the place with black and draws the picture into it.
void drawFitted(QPainter &painter, const QImage &picture, const QRect &place);

} // namespace corvella
