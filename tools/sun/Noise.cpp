#include "Noise.h"

#include "Random.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kNoiseStream = 101;

// Without a call into the mathematics library, which would be most of the noise's cost.
int floorOf(float value)
{
    const int truncated = static_cast<int>(value);
    return value < static_cast<float>(truncated) ? truncated - 1 : truncated;
}

float fade(float t)
{
    return t * t * t * (t * (t * 6 - 15) + 10);
}

// The directions to the edges of a cube, four of them twice.
constexpr std::array<Vec3, 16> kSlopes{{{1, 1, 0},
                                        {-1, 1, 0},
                                        {1, -1, 0},
                                        {-1, -1, 0},
                                        {1, 0, 1},
                                        {-1, 0, 1},
                                        {1, 0, -1},
                                        {-1, 0, -1},
                                        {0, 1, 1},
                                        {0, -1, 1},
                                        {0, 1, -1},
                                        {0, -1, -1},
                                        {1, 1, 0},
                                        {-1, 1, 0},
                                        {0, -1, 1},
                                        {0, -1, -1}}};

float slope(int hash, float x, float y, float z)
{
    return dot(kSlopes[static_cast<std::size_t>(hash & 15)], {x, y, z});
}

} // namespace

Noise::Noise(std::uint32_t seed)
{
    Random random(seed, kNoiseStream);
    for (std::size_t i = 0; i < 256; ++i)
        m_permutation[i] = static_cast<std::uint8_t>(i);
    for (std::size_t i = 255; i > 0; --i)
        std::swap(m_permutation[i], m_permutation[random.bits() % (i + 1)]);
    std::copy_n(m_permutation.begin(), 256, m_permutation.begin() + 256);
}

float Noise::at(Vec3 p) const
{
    const int i = floorOf(p.x);
    const int j = floorOf(p.y);
    const int k = floorOf(p.z);
    const float x = p.x - static_cast<float>(i);
    const float y = p.y - static_cast<float>(j);
    const float z = p.z - static_cast<float>(k);
    const int west = permuted(i);
    const int east = permuted(i + 1);
    const float u = fade(x);
    const auto edge = [&](int up, int front) {
        const float yj = y - static_cast<float>(up);
        const float zk = z - static_cast<float>(front);
        return mix(slope(permuted(permuted(west + j + up) + k + front), x, yj, zk),
                   slope(permuted(permuted(east + j + up) + k + front), x - 1, yj, zk), u);
    };
    const float v = fade(y);
    return mix(mix(edge(0, 0), edge(1, 0), v), mix(edge(0, 1), edge(1, 1), v), fade(z));
}

float Noise::fractal(Vec3 p, int octaves, float gain) const
{
    float sum = 0;
    float strength = 1;
    for (int i = 0; i < octaves; ++i) {
        sum += strength * at(p);
        strength *= gain;
        p = p * 2.03F + Vec3{5.1F, 1.7F, 3.3F};
    }
    return sum;
}

Vec3 Noise::vector(Vec3 p) const
{
    return {at(p), at(p + Vec3{31.4F, 15.9F, 26.5F}), at(p + Vec3{-35.8F, 97.9F, -32.3F})};
}

} // namespace corvella::sun
