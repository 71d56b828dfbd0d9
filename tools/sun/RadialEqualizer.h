#pragma once

#include "Plane.h"

namespace corvella::sun {

// Replaces every value by its rank, 0 to 1, among those at its distance from the middle, so that
// the faint corona shows its structure as clearly as the disc. Neighbouring rings share their
// ranks. The picture's middle is the disc's, `radius` the disc's radius in pixels.
Plane radiallyEqualized(const Plane &plane, float radius, int threads);

} // namespace corvella::sun
