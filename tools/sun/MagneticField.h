#pragma once

#include "Vec3.h"

#include <vector>

namespace corvella::sun {

// A magnetic pole a little below the surface.
struct Pole
{
    Vec3 position;
    float strength = 0; // positive where the field points outwards
};

// The potential field of a set of poles, which between them make dipoles of every size: a field
// line from a pole arches over to a pole of the other sign, or leaves for good.
class MagneticField
{
public:
    void add(const Pole &pole) { m_poles.push_back(pole); }
    const std::vector<Pole> &poles() const { return m_poles; }

    Vec3 at(Vec3 point) const;

    // Only the poles that lie within `reach` of a point: enough for field lines nearby.
    MagneticField around(Vec3 centre, float reach) const;

private:
    std::vector<Pole> m_poles;
};

// A field line, from the surface up.
struct FieldLine
{
    std::vector<Vec3> points;
    float top = 0; // the greatest height over the surface
    float length = 0;
};

struct FieldLineLimits
{
    float firstStep = 0.006F; // near the surface; steps grow with height
    float ceiling = 0.9F;     // the height where a line counts as open
    int steps = 160;
};

// Follows the field from a point on the surface, uphill. The solar wind pulls high lines straight.
FieldLine traceFieldLine(const MagneticField &field, Vec3 foot, const FieldLineLimits &limits);

} // namespace corvella::sun
