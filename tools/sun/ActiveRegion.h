#pragma once

#include "MagneticField.h"
#include "Random.h"

#include <vector>

namespace corvella::sun {

// A pair of sunspots with the plage round them, at the scene's start.
struct ActiveRegion
{
    Vec3 centre;             // unit vector
    Vec3 axis;               // from the leading spot to the following one, a unit tangent
    float size = 1;          // 0.4 for a faint one to 1.3 for a great one
    float separation = 0.1F; // of its two spots, solar radii
    float rate = 0;          // rotation, radians an hour
    std::vector<Pole> poles;
};

// The regions of both activity belts, all round the Sun. Leading spots lie nearer to the equator
// (Joy's law) and have opposite signs in the two hemispheres (Hale's law).
std::vector<ActiveRegion> makeActiveRegions(std::uint32_t seed);

} // namespace corvella::sun
