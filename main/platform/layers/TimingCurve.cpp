#include "platform/layers/TimingCurve.h"

namespace corvella {

namespace {

// One coordinate of the curve at parameter t, between 0 and 1, with inner control values a and b.
double bezier(double a, double b, double t)
{
    const double s = 1 - t;
    return 3 * s * s * t * a + 3 * s * t * t * b + t * t * t;
}

} // namespace

double TimingCurve::progress(double time) const
{
    if (time <= 0)
        return 0;
    if (time >= 1)
        return 1;
    if (isLinear())
        return time;
    // x grows with t throughout, so halving finds the one t of this x; 30 steps are exact to a
    // billionth.
    double low = 0;
    double high = 1;
    for (int step = 0; step < 30; ++step) {
        const double middle = (low + high) / 2;
        (bezier(m_first.x(), m_second.x(), middle) < time ? low : high) = middle;
    }
    return bezier(m_first.y(), m_second.y(), (low + high) / 2);
}

} // namespace corvella
