#include "RadialEqualizer.h"

#include "Parallel.h"
#include "Vec3.h"

#include <algorithm>
#include <array>

namespace corvella::sun {

namespace {

constexpr int kLevels = 512;
constexpr float kRingsPerRadius = 40;
constexpr int kRings = 80; // the last one holds all that lies beyond

// Brightness from 1/1000 to 1000, in equal steps of its logarithm.
float levelOf(float value)
{
    const float decades = std::log10(std::max(value, 1e-3F)) + 3;
    return std::clamp(decades / 6, 0.0F, 1.0F) * (kLevels - 1);
}

using Histogram = std::array<float, kLevels>;

class Rings
{
public:
    Rings(const Plane &plane, float radius);

    // How far out a pixel lies, in rings.
    float ringOf(int x, int y) const;
    float rank(float ring, float value) const;

private:
    void count(const Plane &plane);
    void accumulate();
    float rankIn(int ring, float level) const;

    float m_centre;
    float m_scale;
    std::vector<Histogram> m_ranks;
};

Rings::Rings(const Plane &plane, float radius)
    : m_centre(static_cast<float>(plane.size()) / 2 - 0.5F)
    , m_scale(kRingsPerRadius / radius)
    , m_ranks(kRings)
{
    count(plane);
    accumulate();
}

float Rings::ringOf(int x, int y) const
{
    const float distance =
        std::hypot(static_cast<float>(x) - m_centre, static_cast<float>(y) - m_centre);
    return std::min(distance * m_scale, static_cast<float>(kRings - 1) - 0.001F);
}

// Every pixel counts in the two rings it lies between.
void Rings::count(const Plane &plane)
{
    for (int y = 0; y < plane.size(); ++y) {
        for (int x = 0; x < plane.size(); ++x) {
            const float ring = ringOf(x, y);
            const auto inner = static_cast<std::size_t>(ring);
            const auto level = static_cast<std::size_t>(levelOf(plane.row(y)[x]));
            const float share = ring - std::floor(ring);
            m_ranks[inner][level] += 1 - share;
            m_ranks[inner + 1][level] += share;
        }
    }
}

void Rings::accumulate()
{
    for (Histogram &ring : m_ranks) {
        float sum = 0;
        for (float &entry : ring) {
            sum += entry;
            entry = sum;
        }
        for (float &entry : ring)
            entry /= std::max(sum, 1.0F);
    }
}

float Rings::rankIn(int ring, float level) const
{
    const Histogram &ranks = m_ranks[static_cast<std::size_t>(ring)];
    const auto index = std::min(static_cast<std::size_t>(level), ranks.size() - 1);
    const float below = index > 0 ? ranks[index - 1] : 0;
    return mix(below, ranks[index], level - std::floor(level));
}

float Rings::rank(float ring, float value) const
{
    const int inner = static_cast<int>(ring);
    const float level = levelOf(value);
    return mix(rankIn(inner, level), rankIn(inner + 1, level), ring - std::floor(ring));
}

} // namespace

Plane radiallyEqualized(const Plane &plane, float radius, int threads)
{
    const Rings rings(plane, radius);
    Plane ranks(plane.size());
    runParallel(plane.size(), threads, [&](int y) {
        for (int x = 0; x < plane.size(); ++x)
            ranks.row(y)[x] = rings.rank(rings.ringOf(x, y), plane.row(y)[x]);
    });
    return ranks;
}

} // namespace corvella::sun
