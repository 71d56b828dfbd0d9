#pragma once

#include "ActiveRegion.h"
#include "Noise.h"
#include "SurfaceMap.h"

#include <array>

namespace corvella::sun {

// What the builders of strands need to know of the Sun: its magnetism and its surface.
class Surroundings
{
public:
    Surroundings(std::uint32_t seed, int threads);

    const std::vector<ActiveRegion> &regions() const { return m_regions; }

    // The whole Sun's field, with one pole for each half of a region: for lines that reach far.
    const MagneticField &globalField() const { return m_global; }

    // All poles of a region and the coarse ones round it.
    MagneticField fieldOf(const ActiveRegion &region) const;

    // Along the magnetic fibrils at a surface point: a unit tangent, its sign arbitrary.
    Vec3 fibre(Vec3 up) const;

    // 0 to 1: how deep in a coronal hole a point lies.
    float hole(Vec3 up) const { return m_hole.at(SurfaceMap::placeOf(up)); }

    // Mean 0, variance near 1: the quiet corona's bright and dark patches, at two far-off times.
    const SurfaceMap &mottle(std::size_t which) const { return m_mottles[which]; }
    // -0.5 to 0.5: the chromospheric network along the edges of supergranules, at two far-off
    // times.
    const SurfaceMap &network(std::size_t which) const { return m_networks[which]; }
    // From a map of one time to that of the other and back, never at rest: in between their sum
    // has the same contrast as either.
    float evolving(const SurfaceMap &from, const SurfaceMap &to, const MapPlace &place,
                   double hours) const;
    const SurfaceMap &holes() const { return m_hole; }
    // Near an active region: 0 far away, 1 and more in its heart.
    const SurfaceMap &activity() const { return m_activity; }
    // 0 to 1 and more: the bright remains of magnetic flux round active regions, old and new.
    const SurfaceMap &plage() const { return m_plage; }
    // Large and smooth, mean 1: how dense the corona stands over a region.
    const SurfaceMap &density() const { return m_density; }

private:
    void makeFields(std::uint32_t seed);
    float holeAt(Vec3 up) const;
    float activityAt(Vec3 up) const;
    float plageAt(Vec3 up) const;
    float mottleAt(Vec3 up, Vec3 offset) const;
    float networkAt(Vec3 up, Vec3 offset) const;
    void makeMaps(int threads);
    void makeFibres();
    Vec3 fibreAt(Vec3 up) const;

    Noise m_noise;
    std::vector<ActiveRegion> m_regions;
    MagneticField m_global;
    std::array<SurfaceMap, 2> m_mottles;
    std::array<SurfaceMap, 2> m_networks;
    SurfaceMap m_hole;
    SurfaceMap m_activity;
    SurfaceMap m_plage;
    SurfaceMap m_density;
    SurfaceMap m_phase; // of the slow change at hour 0, in radians: no two places in step
    std::vector<Vec3> m_fibres;
};

} // namespace corvella::sun
