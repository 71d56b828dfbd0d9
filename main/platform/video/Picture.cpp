#include "platform/video/Picture.h"

#include <algorithm>
#include <cmath>

namespace corvella {

QSize chromaSize(QSize luma)
{
    return {(luma.width() + 1) / 2, (luma.height() + 1) / 2};
}

QRect fittedRect(QSizeF content, const QRect &bounds)
{
    if (content.isEmpty() || bounds.isEmpty())
        return {};
    const double ratio =
        std::min(bounds.width() / content.width(), bounds.height() / content.height());
    const int width =
        std::clamp(static_cast<int>(std::lround(content.width() * ratio)), 1, bounds.width());
    const int height =
        std::clamp(static_cast<int>(std::lround(content.height() * ratio)), 1, bounds.height());
    return {bounds.x() + (bounds.width() - width) / 2, bounds.y() + (bounds.height() - height) / 2,
            width, height};
}

} // namespace corvella
