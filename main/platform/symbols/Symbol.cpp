#include "platform/symbols/Symbol.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QLineF>
#include <QPainter>
#include <QPainterPathStroker>
#include <QPalette>
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

// Two arrows to the right that change sides on their way, in units of the text size.
QPainterPath crossingArrows()
{
    constexpr double kLeft = -0.5;
    constexpr double kBend = 0.34;      // how far from either end the arrows leave their line
    constexpr double kTip = 0.5;        // of the arrow heads
    constexpr double kLine = 0.24;      // of either line from the middle
    constexpr double kHead = 0.17;      // half of a head's height, and its length
    constexpr double kThickness = 0.09; // of the lines

    QPainterPath arrow; // from the lower left to the upper right
    arrow.moveTo(kLeft, kLine);
    arrow.lineTo(kLeft + kBend / 2, kLine);
    arrow.cubicTo(kLeft + kBend + 0.06, kLine, kTip - kBend - 0.06, -kLine, kTip - kBend / 2,
                  -kLine);
    arrow.lineTo(kTip, -kLine);
    arrow.moveTo(kTip - kHead, -kLine - kHead);
    arrow.lineTo(kTip, -kLine);
    arrow.lineTo(kTip - kHead, -kLine + kHead);
    QPainterPathStroker stroker;
    stroker.setWidth(kThickness);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    const QPainterPath rising = stroker.createStroke(arrow).simplified();
    return rising.united(QTransform::fromScale(1, -1).map(rising));
}

// A full disc and eight short rays around it, in units of the text size.
QPainterPath shiningSun()
{
    constexpr double kDisc = 0.25;    // its radius
    constexpr double kRayFrom = 0.36; // from the middle
    constexpr double kRayTo = 0.47;
    constexpr double kThickness = 0.085; // of the rays
    constexpr int kRays = 8;

    QPainterPath rays;
    for (int i = 0; i < kRays; ++i) {
        const QLineF ray = QLineF::fromPolar(1, 360.0 * i / kRays);
        rays.moveTo(ray.pointAt(kRayFrom));
        rays.lineTo(ray.pointAt(kRayTo));
    }
    QPainterPathStroker stroker;
    stroker.setWidth(kThickness);
    stroker.setCapStyle(Qt::RoundCap);
    QPainterPath sun = stroker.createStroke(rays);
    sun.addEllipse(QPointF(0, 0), kDisc, kDisc);
    return sun;
}

std::optional<QPainterPath> shape(const QString &name)
{
    if (name == QLatin1String("lock.fill"))
        return padlock();
    if (name == QLatin1String("shuffle"))
        return crossingArrows();
    if (name == QLatin1String("sun.max.fill"))
        return shiningSun();
    return std::nullopt;
}

class SymbolEngine final : public QIconEngine
{
public:
    explicit SymbolEngine(QString name)
        : m_name(std::move(name))
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode,
               QIcon::State /*state*/) override
    {
        const QPalette::ColorGroup group =
            mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const double size = std::min(rect.width(), rect.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(QRectF(rect).center());
        painter->fillPath(symbolPath(m_name, size).value_or(QPainterPath()),
                          QGuiApplication::palette().brush(group, QPalette::ButtonText));
        painter->restore();
    }
    // For who wants pixels after all; the base class would paint them on black.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }
    [[nodiscard]] QIconEngine *clone() const override { return new SymbolEngine(m_name); }

private:
    const QString m_name;
};

} // namespace

std::optional<QPainterPath> symbolPath(const QString &name, double size)
{
    const std::optional<QPainterPath> drawn = shape(name);
    if (!drawn)
        return std::nullopt;
    const QPointF middle = drawn->boundingRect().center();
    return QTransform::fromScale(size, size).map(drawn->translated(-middle));
}

QIcon symbolIcon(const QString &name)
{
    return shape(name) ? QIcon(new SymbolEngine(name)) : QIcon();
}

} // namespace corvella
