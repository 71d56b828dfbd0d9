#include "ActiveRegion.h"

namespace corvella::sun {

namespace {

constexpr std::uint32_t kRegionStream = 1;
constexpr int kRegions = 20;
constexpr int kLeadingPoles = 7;
constexpr int kFollowingPoles = 15;

Pole poleNear(Vec3 up, float spread, float depth, float strength, Random &random)
{
    return {random.near(up, spread) * (1 - depth), strength};
}

// The leading spot is compact, the following one scattered.
void addPoles(ActiveRegion &region, float polarity, Random &random)
{
    const float half = region.separation / 2;
    const Vec3 leading = normalized(region.centre - region.axis * half);
    const Vec3 following = normalized(region.centre + region.axis * half);
    const float flux = polarity * region.size * region.size;
    region.poles.push_back(poleNear(leading, 0.002F, 0.024F, 0.40F * flux, random));
    for (int i = 0; i < kLeadingPoles; ++i) {
        const float share = 0.60F / kLeadingPoles * random.between(0.5F, 1.5F);
        region.poles.push_back(poleNear(leading, half * 0.45F, 0.015F, share * flux, random));
    }
    for (int i = 0; i < kFollowingPoles; ++i) {
        const float share = -1.0F / kFollowingPoles * random.between(0.5F, 1.5F);
        region.poles.push_back(poleNear(following, half * 0.7F, 0.015F, share * flux, random));
    }
}

ActiveRegion makeRegion(int index, Random &random)
{
    const float hemisphere = random.sign();
    const float latitude = hemisphere * radians(random.between(8, 27));
    const float step = kTurn / kRegions;
    const float longitude = (static_cast<float>(index) + random.between(-0.4F, 0.4F)) * step;

    ActiveRegion region;
    region.centre = surfacePoint(latitude, longitude);
    region.size = 0.45F + 0.85F * random.unit() * random.unit();
    region.separation = random.between(0.12F, 0.19F) * std::sqrt(region.size);
    region.rate = rotationRate(region.centre.y);
    const float tilt = radians(random.between(-6, 24));
    region.axis = westAt(region.centre) * -std::cos(tilt)
        + northAt(region.centre) * (hemisphere * std::sin(tilt));
    addPoles(region, hemisphere, random);
    return region;
}

} // namespace

std::vector<ActiveRegion> makeActiveRegions(std::uint32_t seed)
{
    Random random(seed, kRegionStream);
    std::vector<ActiveRegion> regions;
    regions.reserve(kRegions);
    for (int i = 0; i < kRegions; ++i)
        regions.push_back(makeRegion(i, random));
    return regions;
}

} // namespace corvella::sun
