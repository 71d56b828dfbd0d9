// A vertical gradient between two colours, from the bottom edge to the top.
#pragma once

#include "platform/layers/Layer.h"

namespace corvella {

class GradientLayer final : public Layer
{
public:
    void setColours(const QColor &bottom, const QColor &top);

protected:
    [[nodiscard]] QImage drawContents(QSize pixels, double scale) const override;

private:
    QColor m_bottom = Qt::transparent;
    QColor m_top = Qt::transparent;
};

} // namespace corvella
