#pragma once

#include "Heliography.h"

#include <functional>
#include <vector>

namespace corvella::sun {

// A place on every SurfaceMap: the four texels round a point and their shares.
struct MapPlace
{
    std::size_t northWest, northEast, southWest, southEast;
    float east, south;
};

// A scalar over the Sun's surface, sampled on a grid of longitude and latitude.
class SurfaceMap
{
public:
    using Function = std::function<float(Vec3)>; // of a unit vector

    // Fills the map with a function, on some threads.
    void fill(const Function &value, int threads);

    // The same for a function without fine detail, at a small part of the cost.
    void fillSmooth(const Function &value, int threads);

    static MapPlace placeOf(float latitude, float longitude);
    static MapPlace placeOf(Vec3 up);

    float at(const MapPlace &place) const;

private:
    std::vector<float> m_texels;
};

} // namespace corvella::sun
