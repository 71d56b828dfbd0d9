#pragma once

#include "Filter.h"
#include "Plane.h"
#include "Scene.h"
#include "View.h"

namespace corvella::sun {

// The whole scene through one filter: the linear brightness, 1 for the quiet disc's centre.
Plane paintCorona(const Scene &scene, Filter filter, const View &view, int threads);

} // namespace corvella::sun
