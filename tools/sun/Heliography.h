#pragma once

#include "Vec3.h"

#include <numbers>

namespace corvella::sun {

// Directions on the Sun: y is solar north, z points from longitude 0 to the observer at the scene's
// start, x to the west (the right of the picture). All angles are in radians, times in hours.

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kTurn = 2 * kPi;

constexpr float radians(float degrees)
{
    return degrees * kPi / 180;
}

inline Vec3 surfacePoint(float latitude, float longitude)
{
    const float ring = std::cos(latitude);
    return {ring * std::sin(longitude), std::sin(latitude), ring * std::cos(longitude)};
}

// Towards solar west at a unit vector; at the poles any direction will do.
inline Vec3 westAt(Vec3 up)
{
    const Vec3 west{up.z, 0, -up.x};
    return dot(west, west) > 1e-8F ? normalized(west) : Vec3{1, 0, 0};
}

inline Vec3 northAt(Vec3 up)
{
    return cross(up, westAt(up));
}

// Turned round the Sun's axis, as rotation turns everything.
inline Vec3 turnedWest(Vec3 p, float angle)
{
    const float sine = std::sin(angle);
    const float cosine = std::cos(angle);
    return {p.x * cosine + p.z * sine, p.y, p.z * cosine - p.x * sine};
}

// How fast the surface turns, as seen from the Earth: Snodgrass's profile in degrees a day less the
// Earth's own yearly motion.
constexpr float rotationRate(float sineOfLatitude)
{
    constexpr float kEarthMotion = 0.9856F;
    const float s = sineOfLatitude * sineOfLatitude;
    return radians(14.713F - 2.396F * s - 1.787F * s * s - kEarthMotion) / 24;
}

} // namespace corvella::sun
