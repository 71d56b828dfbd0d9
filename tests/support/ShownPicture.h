// A clip's picture as it looks where it is fitted into so many pixels.
#pragma once

#include "platform/video/RgbConverter.h"

namespace corvella::test {

inline QImage shown(const Picture &picture, QSize bounds)
{
    const QSize size = fittedRect(picture.displaySize, QRect(QPoint(0, 0), bounds)).size();
    return RgbConverter().rows(picture, size, 0, size.height()).copy();
}

} // namespace corvella::test
