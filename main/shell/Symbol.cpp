#include "shell/Symbol.h"

#include <QPainterPathStroker>
#include <QTransform>

namespace corvella {

namespace {

// A closed padlock of a semibold stroke, in units of the text size.
QPainterPath padlock()
{
    constexpr double kWidth = 0.76;     // of the body
    constexpr double kBody = 0.56;      // its height
    constexpr double kCorner = 0.12;    // its radius
    constexpr double kShackle = 0.46;   // between the middles of its two legs
    constexpr double kRise = 0.44;      // of the shackle above the body
    constexpr double kThickness = 0.12; // of the shackle

    QPainterPath arch;
    arch.moveTo(-kShackle / 2, kCorner);
    arch.lineTo(-kShackle / 2, -kRise + kShackle / 2);
    arch.arcTo(QRectF(-kShackle / 2, -kRise, kShackle, kShackle), 180, -180);
    arch.lineTo(kShackle / 2, kCorner);
    QPainterPathStroker stroker;
    stroker.setWidth(kThickness);
    stroker.setCapStyle(Qt::FlatCap);

    QPainterPath lock = stroker.createStroke(arch);
    QPainterPath body;
    body.addRoundedRect(QRectF(-kWidth / 2, 0, kWidth, kBody), kCorner, kCorner);
    return lock.united(body);
}

} // namespace

std::optional<QPainterPath> symbolPath(const QString &name, double size)
{
    if (name != QLatin1String("lock.fill"))
        return std::nullopt;
    const QPainterPath shape = padlock();
    const QPointF middle = shape.boundingRect().center();
    return QTransform::fromScale(size, size).map(shape.translated(-middle));
}

} // namespace corvella
