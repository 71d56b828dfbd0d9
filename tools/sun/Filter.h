#pragma once

#include <array>

namespace corvella::sun {

// A telescope's filters that see plasma of the transition region and the corona.
enum class Filter { Aia171, Aia193, Aia211, Aia304, Aia335, Aia94, Aia131 };

// What a filter makes of the scene. Brightnesses are relative to the quiet disc's centre.
struct FilterTraits
{
    struct Peak
    {
        float temperature; // log10 of kelvins
        float width;       // standard deviation in that unit
        float height;
    };

    std::array<Peak, 3> response; // to the temperature of a strand
    float transition;             // the thin, mottled layer at the corona's foot
    float corona;                 // the haze of the quiet corona
    float active;                 // what active regions add to it
    float scaleHeight;            // of that haze, solar radii
    float selfAbsorption; // optical depth of the thin layer: it limits its limb's brightness
    float contrast;       // of the mottles, in natural logarithms
    float network;        // the chromospheric network's part of the thin layer
    float holeLoss;       // the part of the haze that is missing in a coronal hole
    float opacity;        // of cool, dark threads
    float glow;           // of those threads, beyond the limb
};

const FilterTraits &traitsOf(Filter filter);

// The response to plasma of a temperature, as log10 of kelvins; 1 at the main peak.
float responseAt(const FilterTraits &traits, float temperature);

} // namespace corvella::sun
