// How an animation's progress follows its time: a cubic Bezier curve from (0, 0) to (1, 1).
#pragma once

#include <QPointF>

namespace corvella {

class TimingCurve
{
public:
    // The two inner control points; x within 0 to 1.
    constexpr TimingCurve(QPointF first, QPointF second)
        : m_first(first)
        , m_second(second)
    {
    }

    [[nodiscard]] static constexpr TimingCurve linear() { return {{0, 0}, {1, 1}}; }
    [[nodiscard]] static constexpr TimingCurve standard() { return {{0.25, 0.1}, {0.25, 1}}; }
    [[nodiscard]] static constexpr TimingCurve easeInEaseOut() { return {{0.42, 0}, {0.58, 1}}; }

    // Progress (0 to 1) at a share of the duration (0 to 1).
    [[nodiscard]] double progress(double time) const;

private:
    [[nodiscard]] bool isLinear() const
    {
        return m_first == QPointF(0, 0) && m_second == QPointF(1, 1);
    }

    QPointF m_first;
    QPointF m_second;
};

} // namespace corvella
