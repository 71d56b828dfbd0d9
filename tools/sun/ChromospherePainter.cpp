#include "ChromospherePainter.h"

#include "Parallel.h"
#include "StrandPainter.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr float kGrainsPerRadian = 190; // a few granules lump together in each grain
constexpr float kGrainPeriod = 5; // hours; a granule lives for minutes, no frame rate shows that
constexpr float kPixelsPerGrain = 1.2F; // where grains are too fine for the picture

constexpr std::uint32_t kGrainSeed = 77; // every Sun has the same granules

struct Look
{
    float limbDarkening; // the linear law's coefficient
    float grain;         // contrast of the granules
    float network;
    float plage;
    float strands; // what the transition region's strands add
};

Look lookOf(UvFilter filter)
{
    return filter == UvFilter::Uv1600 ? Look{0.22F, 0.31F, 0.50F, 1.4F, 0.15F}
                                      : Look{0.62F, 0.26F, 0.36F, 1.0F, 0.0F};
}

// A spot, where it stands at the view's instant.
struct Spot
{
    Vec3 centre;  // unit vector
    float radius; // of the dark umbra, solar radii
};

class Surface
{
public:
    Surface(const Surroundings &sun, UvFilter filter, const View &view)
        : m_sun(sun)
        , m_view(view)
        , m_look(lookOf(filter))
        , m_noise(kGrainSeed)
        , m_grainContrast(
              m_look.grain
              * smoothStep(0.5F, 2, view.pixelsPerRadius() / kGrainsPerRadian / kPixelsPerGrain))
    {
        placeSpots();
    }

    float at(float x, float y) const;

private:
    void placeSpots();
    float grain(Vec3 surface) const;
    float shade(Vec3 up) const;
    float lace(Vec3 surface) const;
    float magnetic(Vec3 surface, const MapPlace &place) const;

    const Surroundings &m_sun;
    const View &m_view;
    Look m_look;
    Noise m_noise;
    float m_grainContrast;
    std::vector<Spot> m_spots;
};

void Surface::placeSpots()
{
    for (const ActiveRegion &region : m_sun.regions()) {
        const float turn = m_view.turn(region.rate);
        for (std::size_t i = 0; i < region.poles.size(); i += i == 0 ? 3 : 9) {
            const Vec3 p = normalized(region.poles[i].position);
            m_spots.push_back({turnedWest(p, turn), (i == 0 ? 0.013F : 0.006F) * region.size});
        }
    }
}

float Surface::grain(Vec3 surface) const
{
    const Vec3 p = surface * kGrainsPerRadian;
    const auto hours = static_cast<float>(std::remainder(m_view.hours(), double{kGrainPeriod}));
    const float angle = kTurn * (hours / kGrainPeriod + m_noise.at(surface * 20.0F));
    return m_noise.at(p) * std::cos(angle) + m_noise.at(p + Vec3{40, 80, 120}) * std::sin(angle);
}

// The part of the light that spots leave: a dark umbra in a paler penumbra.
float Surface::shade(Vec3 up) const
{
    float left = 1;
    for (const Spot &spot : m_spots) {
        const float square = 2 * (1 - dot(up, spot.centre)) / (spot.radius * spot.radius);
        if (square < 6)
            left *= 1 - 0.65F * std::exp(-square) - 0.25F * std::exp(-square * square / 12);
    }
    return left;
}

// A net of thin, bright threads, 0 to 1: where noise passes through zero, at two sizes of mesh.
float Surface::lace(Vec3 surface) const
{
    const Vec3 bent = surface + m_noise.vector(surface * 45.0F) * 0.008F;
    const float coarse = 1 - smoothStep(0.0F, 0.22F, std::abs(m_noise.at(bent * 34.0F)));
    const float fine = 1 - smoothStep(0.0F, 0.26F, std::abs(m_noise.at(bent * 71.0F)));
    return std::max(coarse, 0.8F * fine);
}

// What the magnetic field adds: some of that net everywhere, more of it in plage.
float Surface::magnetic(Vec3 surface, const MapPlace &place) const
{
    const float network =
        0.5F + m_sun.evolving(m_sun.network(0), m_sun.network(1), place, m_view.hours());
    const float plage = smoothStep(0.08F, 0.8F, m_sun.plage().at(place));
    return lace(surface)
        * (m_look.network * smoothStep(0.45F, 0.9F, network)
           + m_look.plage * plage * smoothStep(0.2F, 0.8F, network));
}

float Surface::at(float x, float y) const
{
    const float distance = std::hypot(x, y);
    const float edge = std::clamp((1 - distance) * m_view.pixelsPerRadius() + 0.5F, 0.0F, 1.0F);
    if (edge <= 0)
        return 0;
    const float slant = std::sqrt(std::max(0.0F, 1 - distance * distance));
    const Vec3 up = View::upright({x, y, slant});
    const float latitude = std::asin(std::clamp(up.y, -1.0F, 1.0F));
    const float longitude = std::atan2(up.x, up.z) - m_view.turn(rotationRate(up.y));

    const float contrast = m_grainContrast * smoothStep(0, 0.3F, slant);
    const Vec3 surface = surfacePoint(latitude, longitude);
    const float grains = 1 + contrast * grain(surface);
    const float bright = 1 + magnetic(surface, SurfaceMap::placeOf(latitude, longitude));
    const float limb = 1 - m_look.limbDarkening * (1 - slant);
    return edge * limb * grains * bright * shade(up);
}

// Strands of the transition region, but not those along the limb, where they stand out against the
// sky of a filter that has none.
void addStrands(const Scene &scene, float share, const View &view, int threads, Plane &plane)
{
    const StrandLayers strands =
        paintStrands(scene.strands(), traitsOf(Filter::Aia304), view, threads);
    runParallel(view.size(), threads, [&](int y) {
        for (int x = 0; x < view.size(); ++x) {
            const float distance = std::hypot(view.across(x), view.upwards(y));
            const float seen = share * (1 - smoothStep(0.94F, 0.995F, distance));
            plane.row(y)[x] += seen * (strands.low.row(y)[x] + strands.high.row(y)[x]);
        }
    });
}

} // namespace

Plane paintChromosphere(const Scene &scene, UvFilter filter, const View &view, int threads)
{
    const Surface surface(scene.sun(), filter, view);
    Plane plane(view.size());
    runParallel(view.size(), threads, [&](int y) {
        for (int x = 0; x < view.size(); ++x)
            plane.row(y)[x] = surface.at(view.across(x), view.upwards(y));
    });
    if (const float share = lookOf(filter).strands; share > 0)
        addStrands(scene, share, view, threads, plane);
    return plane;
}

} // namespace corvella::sun
