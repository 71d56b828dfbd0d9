// The round button in the corner of a wall that closes it. Main thread only.
#pragma once

#include "shell/Chrome.h"

#include <functional>

namespace corvella {

class CloseButton final : public Chrome
{
public:
    static constexpr double kRadius = 26; // of the disc, in points

    // Called once for each press, at once.
    std::function<void()> onClick = [] {};

    [[nodiscard]] QString accessibilityLabel() const override;
    [[nodiscard]] QAccessible::Role accessibilityRole() const override;
    // Anywhere in its square, beside the disc, too.
    [[nodiscard]] bool hitTest(QPointF point) const override;
    void mouseDown() override;

protected:
    void draw(QPainter &painter, double side) const override;
};

} // namespace corvella
