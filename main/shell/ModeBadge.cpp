#include "shell/ModeBadge.h"

#include "platform/symbols/Symbol.h"

#include <QPainter>

namespace corvella {

namespace {

constexpr double kDiscMargin = 6;   // points around the disc
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

void ModeBadge::draw(QPainter &painter, double side) const
{
    drawDisc(painter, side, kDiscMargin);
    if (m_glyph) {
        painter.translate(side / 2, side / 2);
        painter.fillPath(*m_glyph, Qt::white);
    }
}

} // namespace corvella
