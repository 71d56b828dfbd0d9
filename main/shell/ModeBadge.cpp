#include "shell/ModeBadge.h"

#include "shell/Symbol.h"

#include <QPainter>

namespace corvella {

namespace {

constexpr double kMargin = 6;       // points around the disc
constexpr double kGlyphSize = 0.32; // of the badge's width

} // namespace

ModeBadge::ModeBadge(const QRectF &frame, const QString &symbol, const QString &label)
    : m_glyph(symbolPath(symbol, frame.width() * kGlyphSize))
    , m_label(label)
{
    setFrame(frame);
}

QAccessible::Role ModeBadge::accessibilityRole() const
{
    return QAccessible::Graphic;
}

bool ModeBadge::hitTest(QPointF /*point*/) const
{
    return false;
}

QImage ModeBadge::drawContents(QSize pixels, double scale) const
{
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    const double side = bounds().width();
    drawDisc(painter, side, kMargin);
    if (m_glyph) {
        painter.translate(side / 2, side / 2);
        painter.fillPath(*m_glyph, Qt::white);
    }
    return image;
}

} // namespace corvella
