#include "shell/Chrome.h"

#include <QPainter>

namespace corvella {

namespace {

constexpr float kDiscOpacity = 0.55F;
constexpr float kRingOpacity = 0.9F;
constexpr double kRingInset = 1;   // points
constexpr double kRingWidth = 1.5; // points

} // namespace

QImage Chrome::drawContents(QSize pixels, double scale) const
{
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    draw(painter, bounds().width());
    return image;
}

void drawDisc(QPainter &painter, double side, double margin)
{
    const QRectF disc = QRectF(0, 0, side, side).adjusted(margin, margin, -margin, -margin);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, kDiscOpacity));
    painter.drawEllipse(disc);
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, kRingOpacity), kRingWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(disc.adjusted(kRingInset, kRingInset, -kRingInset, -kRingInset));
}

} // namespace corvella
