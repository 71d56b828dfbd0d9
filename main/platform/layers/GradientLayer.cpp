#include "platform/layers/GradientLayer.h"

#include <QLinearGradient>
#include <QPainter>

namespace corvella {

void GradientLayer::setColours(const QColor &bottom, const QColor &top)
{
    m_bottom = bottom;
    m_top = top;
    setNeedsContents();
}

QImage GradientLayer::drawContents(QSize pixels, double /*scale*/) const
{
    // One column, stretched over the width by the renderer.
    QImage image(1, pixels.height(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QLinearGradient gradient(0, pixels.height(), 0, 0);
    gradient.setColorAt(0, m_bottom);
    gradient.setColorAt(1, m_top);
    QPainter(&image).fillRect(image.rect(), gradient);
    return image;
}

} // namespace corvella
