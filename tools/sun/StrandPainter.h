#pragma once

#include "Filter.h"
#include "Plane.h"
#include "Strand.h"
#include "View.h"

namespace corvella::sun {

// What strands put into a picture: two layers of light and, between them, an optical depth.
struct StrandLayers
{
    explicit StrandLayers(int size)
        : low(size)
        , dark(size)
        , high(size)
    {
    }

    Plane low;
    Plane dark;
    Plane high;
};

// Draws the strands as the filter sees them at the view's instant. Every strand is optically thin:
// its light adds up along the line of sight, and the Sun's body hides what lies behind it.
StrandLayers paintStrands(const StrandSet &set, const FilterTraits &filter, const View &view,
                          int threads);

} // namespace corvella::sun
