#pragma once

#include <cmath>

namespace corvella::sun {

// A point or a direction; lengths are in solar radii.
struct Vec3
{
    float x = 0;
    float y = 0;
    float z = 0;
};

constexpr Vec3 operator+(Vec3 a, Vec3 b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

constexpr Vec3 operator-(Vec3 a, Vec3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

constexpr Vec3 operator*(Vec3 a, float s)
{
    return {a.x * s, a.y * s, a.z * s};
}

constexpr float dot(Vec3 a, Vec3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr Vec3 cross(Vec3 a, Vec3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline float length(Vec3 a)
{
    return std::sqrt(dot(a, a));
}

// The zero vector stays what it is.
inline Vec3 normalized(Vec3 a)
{
    const float size = length(a);
    return size > 0 ? a * (1 / size) : a;
}

// What of `a` is at right angles to the unit vector `normal`.
inline Vec3 tangential(Vec3 a, Vec3 normal)
{
    return a - normal * dot(a, normal);
}

constexpr float mix(float a, float b, float share)
{
    return a + (b - a) * share;
}

// 0 below `low`, 1 above `high`, smooth in between.
constexpr float smoothStep(float low, float high, float value)
{
    const float s = (value - low) / (high - low);
    const float t = s < 0 ? 0 : s > 1 ? 1 : s;
    return t * t * (3 - 2 * t);
}

} // namespace corvella::sun
