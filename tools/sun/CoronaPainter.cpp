#include "CoronaPainter.h"

#include "LimbProfile.h"
#include "Parallel.h"
#include "StrandPainter.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr float kThinScale = 0.007F; // of the transition region, solar radii
constexpr float kWindScale = 0.22F;  // of the corona's outermost, faintest part
constexpr float kWindShare = 0.14F;
constexpr float kSpiculeShare = 0.4F;     // of the thin layer that stands out beyond the limb
constexpr float kInnermostLimb = 0.9995F; // where the surface's slant is not yet zero
constexpr int kAngles = 720;              // round the limb
constexpr int kLineOfSightSamples = 9;

// Diffuse light, from below dark threads, which hide it, and from around and over them.
struct Light
{
    float low = 0;
    float high = 0;
};

// The diffuse part of the picture, under the strands.
class Haze
{
public:
    Haze(const Surroundings &sun, const FilterTraits &filter, const View &view)
        : m_sun(sun)
        , m_filter(filter)
        , m_view(view)
        , m_thin(kThinScale)
        , m_corona(filter.scaleHeight)
        , m_wind(kWindScale)
    {
        for (int i = 0; i < kAngles; ++i)
            m_limb.push_back(limbDensity(kTurn * static_cast<float>(i) / kAngles));
    }

    // The light at a picture place.
    Light at(float x, float y) const;

private:
    Light onDisc(float x, float y, float distance) const;
    Light beyondLimb(float x, float y, float distance) const;
    MapPlace placeUnder(Vec3 seen) const;
    float thinLayer(const MapPlace &place, float slant) const;
    float thinProfile(float distance) const;
    float density(const MapPlace &place) const;
    float limbDensity(float angle) const;
    float limbAt(float x, float y) const;
    float mottle(const MapPlace &place) const;
    float network(const MapPlace &place) const;

    const Surroundings &m_sun;
    const FilterTraits &m_filter;
    const View &m_view;
    LimbProfile m_thin;
    LimbProfile m_corona;
    LimbProfile m_wind;
    std::vector<float> m_limb; // the corona's density round the limb
};

MapPlace Haze::placeUnder(Vec3 seen) const
{
    const Vec3 up = View::upright(seen);
    const float turned = m_view.turn(rotationRate(up.y));
    return SurfaceMap::placeOf(std::asin(std::clamp(up.y, -1.0F, 1.0F)),
                               std::atan2(up.x, up.z) - turned);
}

float Haze::mottle(const MapPlace &place) const
{
    return m_sun.evolving(m_sun.mottle(0), m_sun.mottle(1), place, m_view.hours());
}

float Haze::network(const MapPlace &place) const
{
    const float n = m_sun.evolving(m_sun.network(0), m_sun.network(1), place, m_view.hours());
    return std::max(0.0F, 0.5F + n);
}

// Towards the limb (slant 0) a line of sight crosses many mottles, whose contrast evens out.
float Haze::thinLayer(const MapPlace &place, float slant) const
{
    const float clear = smoothStep(0, 0.35F, slant);
    const float texture = std::exp(m_filter.contrast * clear * mottle(place))
        * (1 + m_filter.network * clear * (1.8F * network(place) - 0.5F));
    const float plage = 1 + (0.5F + 3.5F * m_filter.network) * m_sun.plage().at(place);
    return texture * plage;
}

// The column of emitting matter, less what it absorbs itself.
float Haze::thinProfile(float distance) const
{
    const float depth = m_filter.selfAbsorption;
    return (1 - std::exp(-depth * m_thin.at(distance))) / (1 - std::exp(-depth));
}

float Haze::density(const MapPlace &place) const
{
    const float quiet =
        m_sun.density().at(place) * (1 - m_filter.holeLoss * m_sun.holes().at(place));
    return m_filter.corona * quiet + m_filter.active * m_sun.activity().at(place);
}

float Haze::limbDensity(float angle) const
{
    float sum = 0;
    float total = 0;
    for (int i = 0; i < kLineOfSightSamples; ++i) {
        const float z = 0.5F * (2.0F * static_cast<float>(i) / (kLineOfSightSamples - 1) - 1);
        const float share = std::exp(-z * z / 0.08F);
        const Vec3 seen = normalized({std::cos(angle), std::sin(angle), z});
        const MapPlace place = placeUnder(seen);
        const float rays = std::exp(0.4F * mottle(place));
        sum += share * density(place) * rays;
        total += share;
    }
    return sum / total;
}

float Haze::limbAt(float x, float y) const
{
    const float turns = std::atan2(y, x) / kTurn;
    const float place = (turns - std::floor(turns)) * kAngles;
    const auto index = static_cast<std::size_t>(place) % kAngles;
    return mix(m_limb[index], m_limb[(index + 1) % kAngles], place - std::floor(place));
}

Light Haze::onDisc(float x, float y, float distance) const
{
    const float slant = std::sqrt(1 - distance * distance);
    const MapPlace place = placeUnder({x, y, slant});
    return {m_filter.transition * thinLayer(place, slant) * thinProfile(distance),
            density(place) * m_corona.at(distance)};
}

Light Haze::beyondLimb(float x, float y, float distance) const
{
    const float corona = m_corona.at(distance) + kWindShare * m_wind.at(distance);
    return {0, limbAt(x, y) * corona + kSpiculeShare * m_filter.transition * thinProfile(distance)};
}

// The limb runs through its pixels.
Light Haze::at(float x, float y) const
{
    const float distance = std::hypot(x, y);
    const float beyond = std::clamp((distance - 1) * m_view.pixelsPerRadius() + 0.5F, 0.0F, 1.0F);
    const Light inside = beyond < 1 ? onDisc(x, y, std::min(distance, kInnermostLimb)) : Light{};
    const Light outside = beyond > 0 ? beyondLimb(x, y, std::max(distance, 1.0F)) : Light{};
    return {mix(inside.low, outside.low, beyond), mix(inside.high, outside.high, beyond)};
}

void composeRow(const Haze &haze, const View &view, const StrandLayers &strands, Plane &out, int y)
{
    for (int x = 0; x < view.size(); ++x) {
        const Light light = haze.at(view.across(x), view.upwards(y));
        const float through = std::exp(-strands.dark.row(y)[x]);
        // The hazy corona lies half behind and half before the dark threads.
        out.row(y)[x] = (light.low + strands.low.row(y)[x] + light.high / 2) * through
            + light.high / 2 + strands.high.row(y)[x];
    }
}

} // namespace

Plane paintCorona(const Scene &scene, Filter filter, const View &view, int threads)
{
    const FilterTraits &traits = traitsOf(filter);
    const StrandLayers strands = paintStrands(scene.strands(), traits, view, threads);
    const Haze haze(scene.sun(), traits, view);
    Plane plane(view.size());
    runParallel(view.size(), threads, [&](int y) { composeRow(haze, view, strands, plane, y); });
    return plane;
}

} // namespace corvella::sun
