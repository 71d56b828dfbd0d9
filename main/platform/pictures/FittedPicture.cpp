#include "platform/pictures/FittedPicture.h"

#include <QPainter>

namespace corvella {

QRect fittedRect(QSize picture, const QRect &place)
{
    QRect fitted(QPoint(0, 0),
                 picture.scaled(place.size(), Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    fitted.moveCenter(place.center());
    return fitted;
}

void drawFitted(QPainter &painter, const QImage &picture, const QRect &place)
{
    painter.fillRect(place, Qt::black);
    const QRect fitted = fittedRect(picture.size(), place);
    // Qt's painter alone takes too few of a large picture's pixels into account.
    painter.drawImage(
        fitted.topLeft(),
        picture.scaled(fitted.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

} // namespace corvella
