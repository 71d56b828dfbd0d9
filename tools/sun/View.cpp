#include "View.h"

namespace corvella::sun {

namespace {

constexpr float kDiscRadius = 0.385F;  // of the picture's side
constexpr float kLean = radians(4.5F); // what the Earth sees of the north pole in autumn

} // namespace

View::View(double hours, int size)
    : m_hours(hours)
    , m_size(size)
    , m_scale(kDiscRadius * static_cast<float>(size))
    , m_centre(static_cast<float>(size) / 2)
{
}

float View::turn(float rate) const
{
    const double angle = static_cast<double>(rate) * m_hours;
    return static_cast<float>(std::remainder(angle, 2 * std::numbers::pi));
}

Vec3 View::tilted(Vec3 p)
{
    static const float sine = std::sin(kLean);
    static const float cosine = std::cos(kLean);
    return {p.x, p.y * cosine - p.z * sine, p.y * sine + p.z * cosine};
}

Vec3 View::upright(Vec3 p)
{
    static const float sine = std::sin(kLean);
    static const float cosine = std::cos(kLean);
    return {p.x, p.y * cosine + p.z * sine, p.z * cosine - p.y * sine};
}

} // namespace corvella::sun
