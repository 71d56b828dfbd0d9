#include "platform/pictures/FittedPicture.h"

#include <QImageReader>
#include <QPainter>

namespace corvella {

QRect fittedRect(QSize picture, const QRect &place)
{
    QRect fitted(QPoint(0, 0),
                 picture.scaled(place.size(), Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    fitted.moveCenter(place.center());
    return fitted;
}

Failure drawFitted(QPainter &painter, const QString &file, const QRect &place)
{
    QImageReader reader(file);
    // A name may lie about what the file is.
    reader.setDecideFormatFromContent(true);
    const QImage picture = reader.read();
    if (picture.isNull())
        return reader.errorString();
    painter.fillRect(place, Qt::black);
    const QRect fitted = fittedRect(picture.size(), place);
    // Qt's painter alone takes too few of a large picture's pixels into account.
    painter.drawImage(
        fitted.topLeft(),
        picture.scaled(fitted.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    return {};
}

} // namespace corvella
