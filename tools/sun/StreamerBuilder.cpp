#include "Builders.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kStreamerStream = 13;
constexpr int kGroups = 1100;
constexpr int kStrandsPerGroup = 4;

std::vector<StrandPoint> fading(const FieldLine &line, float scale)
{
    std::vector<StrandPoint> points;
    for (const Vec3 &point : line.points) {
        const float height = std::max(0.0F, length(point) - 1);
        // Strong at the foot, then a long, thin tail: the wind thins out slowly.
        const float weight = std::exp(-height / scale) + 0.12F * std::exp(-height / (3 * scale));
        points.push_back({point, weight * smoothStep(0, 0.06F, height)});
    }
    return points;
}

StrandStyle styleOf(Vec3 foot, float hole, Random &random)
{
    StrandStyle style;
    style.layer = StrandLayer::High;
    style.emission = 0.0030F * std::exp(0.4F * random.gaussian());
    style.width = random.between(0.0025F, 0.010F);
    style.hottest = hole > 0.5F ? random.between(5.75F, 6.0F) : random.between(5.8F, 6.3F);
    style.coolest = style.hottest;
    style.rate = rotationRate(foot.y);
    style.sway = 0.01F;
    style.cycle = {random.between(16, 50), random.unit(), 0.8F, 0.4F};
    return style;
}

} // namespace

void addStreamers(StrandSet &set, const Surroundings &sun, std::uint32_t seed)
{
    Random random(seed, kStreamerStream);
    const FieldLineLimits limits{.firstStep = 0.02F, .ceiling = 0.75F, .steps = 70};
    for (int i = 0; i < kGroups; ++i) {
        const Vec3 middle = random.direction();
        const float hole = sun.hole(middle);
        const StrandStyle style = styleOf(middle, hole, random);
        for (int j = 0; j < kStrandsPerGroup; ++j) {
            const Vec3 foot = random.near(middle, 0.030F);
            const FieldLine line = traceFieldLine(sun.globalField(), foot, limits);
            StrandStyle own = style;
            own.emission *= std::exp(0.7F * random.gaussian());
            set.add(own, fading(line, hole > 0.5F ? 0.12F : 0.10F));
        }
    }
}

} // namespace corvella::sun
