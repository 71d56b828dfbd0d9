#pragma once

#include "Product.h"

#include <array>
#include <vector>

namespace corvella::sun {

// A colour in linear steps of the display's values, 0 to 1.
struct Colour
{
    float red = 0;
    float green = 0;
    float blue = 0;
};

// From a linear brightness to a display value: a logarithm, as a telescope's pictures are shown, so
// that the faint corona and the flare both keep their structure.
struct Tone
{
    float exposure = 1; // the brightness where the logarithm takes over is 1 / exposure
    float white = 20;   // the brightness that is shown as 1

    float at(float brightness) const;
};

// A run of colours from black to white in the manner of one channel.
class ColourTable
{
public:
    struct Stop
    {
        float value; // 0 to 1, rising from stop to stop
        Colour colour;
    };

    explicit ColourTable(const std::vector<Stop> &stops);

    // The value may lie outside 0 to 1.
    Colour at(float value) const;

private:
    static constexpr int kEntries = 1024;
    std::array<Colour, kEntries> m_entries;
};

// The look of a channel; the composites have none of their own and get the one of 171 Å.
const ColourTable &colourTableOf(Product product);
Tone toneOf(Product product);

} // namespace corvella::sun
