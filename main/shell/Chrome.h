// What lies over a wall for the person in front of it: a layer that a pointer and a screen reader
// find. Main thread only.
#pragma once

#include "platform/layers/Layer.h"

#include <QAccessible>

namespace corvella {

class Chrome : public Layer
{
public:
    // What a screen reader says, and as what it presents it.
    [[nodiscard]] virtual QString accessibilityLabel() const = 0;
    [[nodiscard]] virtual QAccessible::Role accessibilityRole() const = 0;

    // Whether a press at this point, in the wall's coordinates, is for this layer. Else it goes to
    // what lies behind.
    [[nodiscard]] virtual bool hitTest(QPointF point) const = 0;
    // The pointer's button went down on it.
    virtual void mouseDown() {}

protected:
    // Draws it with a painter in points, from the top left of its square of this side.
    virtual void draw(QPainter &painter, double side) const = 0;

private:
    [[nodiscard]] QImage drawContents(QSize pixels, double scale) const final;
};

// The dark disc with its light ring, in the middle of a square of `side` points, that both kinds of
// chrome begin with; `margin` is left free on every side.
void drawDisc(QPainter &painter, double side, double margin);

} // namespace corvella
