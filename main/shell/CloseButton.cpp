#include "shell/CloseButton.h"

#include <QPainter>

namespace corvella {

namespace {

constexpr double kArm = 0.42 * CloseButton::kRadius; // of the cross, on each axis
constexpr double kCrossWidth = 3.5;                  // points

} // namespace

QString CloseButton::accessibilityLabel() const
{
    return QStringLiteral("Close the wall");
}

QAccessible::Role CloseButton::accessibilityRole() const
{
    return QAccessible::Button;
}

bool CloseButton::hitTest(QPointF point) const
{
    return frame().contains(point);
}

void CloseButton::mouseDown()
{
    // A copy, since closing the wall ends this button.
    const std::function<void()> action = onClick;
    action();
}

void CloseButton::draw(QPainter &painter, double side) const
{
    drawDisc(painter, side, side / 2 - kRadius);
    painter.translate(side / 2, side / 2);
    painter.setPen(QPen(Qt::white, kCrossWidth, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(-kArm, -kArm), QPointF(kArm, kArm));
    painter.drawLine(QPointF(-kArm, kArm), QPointF(kArm, -kArm));
}

} // namespace corvella
