#include "Builders.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kFlareStream = 1000; // and on, one for every region
constexpr float kFlaringSize = 0.85F;        // a smaller region is too weak for a flare
constexpr float kPeriod = 68;                // hours from one flare of a region to its next
constexpr int kArcadeStrands = 170;
constexpr int kRibbonStrands = 90;

// One region's flare: where it is, and when.
struct Flare
{
    Vec3 centre;
    Vec3 across; // from one ribbon to the other
    Vec3 along;  // the ribbons' direction
    float rate = 0;
    float hour = 0;
    float size = 1;
};

Flare makeFlare(const ActiveRegion &region, Random &random)
{
    Flare flare;
    flare.hour = random.between(0, kPeriod);
    const float turn = radians(random.between(-20, 20));
    const Vec3 side = cross(region.centre, region.axis);
    flare.across = region.axis * std::cos(turn) + side * std::sin(turn);
    flare.along = cross(region.centre, flare.across);
    flare.centre = random.near(region.centre, 0.006F);
    flare.rate = region.rate;
    flare.size = region.size;
    return flare;
}

// A cycle that lights up at an hour and is over `lasting` hours later.
Cycle cycleAt(float hour, float lasting, float rise)
{
    const float turns = -hour / kPeriod;
    return {kPeriod, turns - std::floor(turns), lasting / kPeriod, rise};
}

// Half an ellipse over the boundary between the ribbons.
std::vector<StrandPoint> arch(const Flare &flare, float place, float half, float lean,
                              float stretch)
{
    std::vector<StrandPoint> points;
    constexpr int kPieces = 22;
    for (int i = 0; i <= kPieces; ++i) {
        const float angle = kPi * static_cast<float>(i) / kPieces;
        const Vec3 foot = flare.centre + flare.along * (place + lean * std::cos(angle))
            + flare.across * (half * std::cos(angle));
        const float height = stretch * half * std::sin(angle);
        points.push_back({normalized(foot) * (1 + height), 1});
    }
    return points;
}

// Loops light up from the inside out as reconnection climbs; each is hot first and cools down.
void addArcade(StrandSet &set, const Flare &flare, Random &random)
{
    for (int i = 0; i < kArcadeStrands; ++i) {
        const float outwards = random.unit();
        const float half = (0.010F + 0.050F * outwards) * flare.size * random.between(0.8F, 1.25F);
        const float place = 0.028F * flare.size * random.gaussian();
        StrandStyle style;
        style.layer = StrandLayer::High;
        style.emission = 0.013F * std::exp(0.9F * random.gaussian());
        style.width = random.between(0.0012F, 0.0020F);
        style.hottest = 7.15F;
        style.coolest = 5.7F;
        style.rate = flare.rate;
        const float start = flare.hour + 4.5F * outwards + 0.4F * random.unit();
        style.cycle = cycleAt(start, random.between(2.5F, 5.5F), 0.55F);
        set.add(style,
                arch(flare, place, half, 0.012F * flare.size * random.gaussian(),
                     random.between(1.1F, 1.8F)));
    }
}

// The feet flash first, in every filter, and the ribbons part.
void addRibbons(StrandSet &set, const Flare &flare, Random &random)
{
    for (int i = 0; i < kRibbonStrands; ++i) {
        const float outwards = random.unit();
        const float side = random.sign() * (0.008F + 0.025F * outwards) * flare.size;
        const float place = 0.028F * flare.size * random.gaussian();
        StrandStyle style;
        style.layer = StrandLayer::High;
        style.emission = 0.20F * std::exp(0.5F * random.gaussian());
        style.width = random.between(0.0012F, 0.0024F);
        style.hottest = random.between(4.8F, 6.2F);
        style.coolest = style.hottest;
        style.rate = flare.rate;
        style.cycle = cycleAt(flare.hour + 0.9F * outwards, random.between(0.5F, 1.6F), 0.15F);
        const Vec3 foot = normalized(flare.centre + flare.across * side + flare.along * place);
        const Vec3 end = normalized(foot + flare.along * random.between(0.006F, 0.020F));
        set.add(style, std::vector<StrandPoint>{{foot * 1.002F, 1}, {end * 1.002F, 1}});
    }
}

} // namespace

void addFlares(StrandSet &set, const Surroundings &sun, std::uint32_t seed)
{
    std::uint32_t stream = kFlareStream;
    for (const ActiveRegion &region : sun.regions()) {
        Random random(seed, stream++);
        if (region.size < kFlaringSize)
            continue;
        const Flare flare = makeFlare(region, random);
        addArcade(set, flare, random);
        addRibbons(set, flare, random);
    }
}

} // namespace corvella::sun
