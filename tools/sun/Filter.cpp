#include "Filter.h"

#include <cmath>

namespace corvella::sun {

namespace {

// Each filter's ions, and what they give at their temperatures of formation.

// Fe IX.
constexpr FilterTraits k171{
    .response = {{{5.85F, 0.16F, 1}, {5.3F, 0.2F, 0.15F}, {4.9F, 0.1F, 0.02F}}},
    .transition = 0.5F,
    .corona = 0.3F,
    .active = 1.1F,
    .scaleHeight = 0.075F,
    .selfAbsorption = 0.35F,
    .contrast = 0.92F,
    .network = 0.2F,
    .holeLoss = 0.35F,
    .opacity = 1.0F,
    .glow = 0.1F};

// Fe XII; Fe XXIV in flares.
constexpr FilterTraits k193{
    .response = {{{6.19F, 0.16F, 1}, {5.5F, 0.25F, 0.1F}, {7.25F, 0.12F, 0.3F}}},
    .transition = 0.25F,
    .corona = 0.45F,
    .active = 2.0F,
    .scaleHeight = 0.085F,
    .selfAbsorption = 0.35F,
    .contrast = 0.6F,
    .network = 0.15F,
    .holeLoss = 0.85F,
    .opacity = 0.9F,
    .glow = 0.05F};

// Fe XIV.
constexpr FilterTraits k211{
    .response = {{{6.28F, 0.16F, 1}, {5.6F, 0.3F, 0.06F}, {7.25F, 0.12F, 0.1F}}},
    .transition = 0.2F,
    .corona = 0.45F,
    .active = 2.6F,
    .scaleHeight = 0.1F,
    .selfAbsorption = 0.35F,
    .contrast = 0.5F,
    .network = 0.1F,
    .holeLoss = 0.85F,
    .opacity = 0.8F,
    .glow = 0.04F};

// He II, optically thick at the limb.
constexpr FilterTraits k304{
    .response = {{{4.9F, 0.22F, 1}, {5.4F, 0.25F, 0.2F}, {6.2F, 0.2F, 0.02F}}},
    .transition = 0.72F,
    .corona = 0.05F,
    .active = 0.35F,
    .scaleHeight = 0.06F,
    .selfAbsorption = 1.2F,
    .contrast = 0.4F,
    .network = 1.0F,
    .holeLoss = 0.1F,
    .opacity = 0.8F,
    .glow = 1.0F};

// Fe XVI.
constexpr FilterTraits k335{
    .response = {{{6.42F, 0.22F, 1}, {5.5F, 0.3F, 0.15F}, {7.2F, 0.2F, 0.1F}}},
    .transition = 0.35F,
    .corona = 0.35F,
    .active = 2.6F,
    .scaleHeight = 0.09F,
    .selfAbsorption = 0.4F,
    .contrast = 0.45F,
    .network = 0.25F,
    .holeLoss = 0.7F,
    .opacity = 0.6F,
    .glow = 0.05F};

// Fe XVIII; Fe X in the quiet corona.
constexpr FilterTraits k94{
    .response = {{{6.85F, 0.14F, 1}, {6.05F, 0.18F, 0.35F}, {7.1F, 0.1F, 0.2F}}},
    .transition = 0.35F,
    .corona = 0.3F,
    .active = 1.7F,
    .scaleHeight = 0.075F,
    .selfAbsorption = 0.4F,
    .contrast = 0.45F,
    .network = 0.15F,
    .holeLoss = 0.55F,
    .opacity = 0.6F,
    .glow = 0.05F};

// Fe XXI in flares; Fe VIII elsewhere.
constexpr FilterTraits k131{
    .response = {{{7.03F, 0.15F, 1}, {5.7F, 0.18F, 0.7F}, {6.2F, 0.15F, 0.12F}}},
    .transition = 0.55F,
    .corona = 0.14F,
    .active = 0.7F,
    .scaleHeight = 0.055F,
    .selfAbsorption = 0.4F,
    .contrast = 0.7F,
    .network = 0.35F,
    .holeLoss = 0.4F,
    .opacity = 0.9F,
    .glow = 0.1F};

} // namespace

const FilterTraits &traitsOf(Filter filter)
{
    switch (filter) {
    case Filter::Aia193:
        return k193;
    case Filter::Aia211:
        return k211;
    case Filter::Aia304:
        return k304;
    case Filter::Aia335:
        return k335;
    case Filter::Aia94:
        return k94;
    case Filter::Aia131:
        return k131;
    case Filter::Aia171:
        break;
    }
    return k171;
}

float responseAt(const FilterTraits &traits, float temperature)
{
    float sum = 0;
    for (const FilterTraits::Peak &peak : traits.response) {
        const float away = (temperature - peak.temperature) / peak.width;
        sum += peak.height * std::exp(away * away / -2);
    }
    return sum;
}

} // namespace corvella::sun
