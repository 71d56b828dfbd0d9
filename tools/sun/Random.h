#pragma once

#include "Heliography.h"

#include <cstdint>

namespace corvella::sun {

// A small generator (SplitMix64) whose sequence is the same with every library.
class Random
{
public:
    // Two streams of one seed have nothing in common.
    Random(std::uint32_t seed, std::uint32_t stream)
        : m_state((std::uint64_t{seed} << 32U | stream) * 0x9E3779B97F4A7C15U)
    {
    }

    std::uint64_t bits()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t z = m_state;
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31U);
    }

    // From 0 up to 1.
    float unit() { return static_cast<float>(bits() >> 40U) * 0x1p-24F; }
    float between(float low, float high) { return low + (high - low) * unit(); }
    float sign() { return (bits() & 1U) != 0 ? 1.0F : -1.0F; }

    // Of mean 0 and variance 1 (Box and Muller).
    float gaussian()
    {
        const float radius = std::sqrt(-2 * std::log(1 - unit()));
        return radius * std::cos(kTurn * unit());
    }

    // Evenly spread over the sphere.
    Vec3 direction()
    {
        const float sine = between(-1, 1);
        return surfacePoint(std::asin(sine), kTurn * unit());
    }

    // A unit vector scattered round another by about `spread` radians.
    Vec3 near(Vec3 up, float spread)
    {
        return normalized(up + westAt(up) * (spread * gaussian())
                          + northAt(up) * (spread * gaussian()));
    }

private:
    std::uint64_t m_state;
};

} // namespace corvella::sun
