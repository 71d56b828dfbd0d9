// The round badge in the corner of a kiosk's wall: this screen is locked. It is for looking at
// alone; presses go through it. Main thread only.
#pragma once

#include "shell/Chrome.h"

#include <QPainterPath>

#include <optional>

namespace corvella {

class ModeBadge final : public Chrome
{
public:
    // `symbol` as symbolPath() knows it, else the badge shows none; `label` is what it says to a
    // screen reader.
    ModeBadge(const QRectF &frame, const QString &symbol, const QString &label);

    [[nodiscard]] QString accessibilityLabel() const override { return m_label; }
    [[nodiscard]] QAccessible::Role accessibilityRole() const override;
    [[nodiscard]] bool hitTest(QPointF point) const override;

protected:
    void draw(QPainter &painter, double side) const override;

private:
    const std::optional<QPainterPath> m_glyph; // points, its middle at the origin
    const QString m_label;
};

} // namespace corvella
