#include "LimbProfile.h"

#include "Vec3.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr float kFarthest = 2; // solar radii
constexpr int kSteps = 500;    // of the table; the limb lies on one

// The integral along the line of sight, from the surface or from behind, up to the observer.
float column(float distance, float scale)
{
    const float square = distance * distance;
    const float start = square < 1 ? std::sqrt(1 - square) : 0;
    constexpr int kSamples = 96;
    const float end = start + 4 * std::sqrt(scale);
    const float step = (end - start) / kSamples;
    float sum = 0;
    for (int i = 0; i < kSamples; ++i) {
        const float z = start + (static_cast<float>(i) + 0.5F) * step;
        sum += std::exp((1 - std::sqrt(square + z * z)) / scale) * step;
    }
    return square < 1 ? sum : 2 * sum;
}

} // namespace

LimbProfile::LimbProfile(float scale)
{
    for (int i = 0; i <= kSteps; ++i)
        m_values.push_back(column(kFarthest * static_cast<float>(i) / kSteps, scale) / scale);
}

float LimbProfile::at(float distance) const
{
    const float place = std::min(distance / kFarthest, 1.0F) * kSteps;
    const int index = std::min(static_cast<int>(place), kSteps - 1);
    const auto i = static_cast<std::size_t>(index);
    const bool acrossLimb = index == kSteps / 2 - 1; // the step there is real
    const float share = acrossLimb ? 0 : place - static_cast<float>(index);
    return mix(m_values[i], m_values[i + 1], share);
}

} // namespace corvella::sun
