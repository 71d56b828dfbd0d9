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

QImage readPicture(const QString &file, Failure &failure)
{
    // Several large screens in one picture are more than Qt allows by itself.
    constexpr int kMegabytes = 1024;
    QImageReader::setAllocationLimit(kMegabytes);
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    QImage picture = reader.read();
    if (picture.isNull())
        failure = reader.errorString();
    return picture;
}

Failure drawFitted(QPainter &painter, const QString &file, const QRect &place)
{
    Failure failure;
    const QImage picture = readPicture(file, failure);
    if (failure)
        return failure;
    painter.fillRect(place, Qt::black);
    const QRect fitted = fittedRect(picture.size(), place);
    // Qt's painter alone takes too few of a large picture's pixels into account.
    painter.drawImage(
        fitted.topLeft(),
        picture.scaled(fitted.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    return {};
}

} // namespace corvella
