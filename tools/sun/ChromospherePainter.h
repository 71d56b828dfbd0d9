#pragma once

#include "Plane.h"
#include "Scene.h"
#include "View.h"

namespace corvella::sun {

// The ultraviolet filters that see the Sun's surface rather than the corona.
enum class UvFilter { Uv1600, Uv1700 };

// The disc through such a filter, 1 for its quiet centre, 0 beyond the limb: granules, the bright
// network and plage, sunspots; at 1600 Å also the feet of loops and the ribbons of flares.
Plane paintChromosphere(const Scene &scene, UvFilter filter, const View &view, int threads);

} // namespace corvella::sun
