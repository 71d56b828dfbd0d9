#include "platform/video/Picture.h"

#include <QImage>

namespace corvella {

QImage Picture::image() const
{
    const Plane &plane = planes[0];
    return QImage(plane.data, plane.size.width(), plane.size.height(), plane.bytesPerLine,
                  QImage::Format_RGB32);
}

} // namespace corvella
