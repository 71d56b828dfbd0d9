#pragma once

#include "Vec3.h"

#include <array>
#include <cstdint>

namespace corvella::sun {

// Smooth random functions of space, the same for the same seed.
class Noise
{
public:
    explicit Noise(std::uint32_t seed);

    // Gradient noise after Perlin: mean 0, mostly within -0.7 to 0.7, features of size 1.
    float at(Vec3 p) const;

    // Octaves of it, each twice as fine; `gain` is an octave's strength relative to the one before.
    float fractal(Vec3 p, int octaves, float gain) const;

    // Three independent ones, to displace a point by.
    Vec3 vector(Vec3 p) const;

private:
    int permuted(int i) const { return m_permutation[static_cast<std::size_t>(i & 255)]; }

    std::array<std::uint8_t, 512> m_permutation{};
};

} // namespace corvella::sun
