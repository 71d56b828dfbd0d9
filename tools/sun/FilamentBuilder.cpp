#include "Builders.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kFilamentStream = 14;
constexpr int kFilaments = 34;

// A filament's spine, and what hangs on it.
struct Spine
{
    std::vector<Vec3> points; // unit vectors, evenly spaced
    float height = 0.03F;     // solar radii
    float rate = 0;
};

// Filaments lie along polarity boundaries: from east to west with a lean to the equator, in bends.
Spine makeSpine(Random &random)
{
    const float side = random.sign();
    const bool isPolar = random.unit() < 0.4F;
    const float latitude = isPolar ? random.between(48, 62) : random.between(12, 42);
    Vec3 up = surfacePoint(side * radians(latitude), random.between(0, kTurn));
    Spine spine;
    spine.height = random.between(0.03F, 0.09F);
    spine.rate = rotationRate(up.y);
    float heading = radians(random.between(-15, 50));
    const int steps = static_cast<int>(random.between(14, 50));
    for (int i = 0; i < steps; ++i) {
        spine.points.push_back(up);
        heading += radians(11 * random.gaussian());
        heading *= 0.96F;
        const Vec3 along =
            westAt(up) * std::cos(heading) - northAt(up) * (side * std::sin(heading));
        up = normalized(up + along * 0.010F);
    }
    return spine;
}

Vec3 along(const Spine &spine, float place)
{
    const float scaled =
        std::clamp(place, 0.0F, 1.0F) * static_cast<float>(spine.points.size() - 1);
    const auto index = std::min(static_cast<std::size_t>(scaled), spine.points.size() - 2);
    const float share = scaled - static_cast<float>(index);
    return spine.points[index] * (1 - share) + spine.points[index + 1] * share;
}

StrandStyle threadStyle(const Spine &spine, Random &random)
{
    StrandStyle style;
    style.layer = StrandLayer::Dark;
    style.emission = 0.0009F * std::exp(0.5F * random.gaussian());
    style.width = random.between(0.0009F, 0.0024F);
    style.glow = random.between(1.0F, 2.6F);
    style.rate = spine.rate;
    style.sway = 0.12F;
    style.cycle = {random.between(8, 24), random.unit(), 0.75F, 0.4F};
    return style;
}

// A thread runs along the spine at some height and may droop to the surface at one end.
std::vector<StrandPoint> makeThread(const Spine &spine, Random &random)
{
    const float start = random.between(-0.05F, 0.95F);
    const float reach = random.between(0.08F, 0.30F);
    const float drift = 0.014F * random.gaussian();
    const float offset = 0.009F * random.gaussian();
    const float base = random.between(0.15F, 1.0F) * spine.height;
    const float droop = random.unit() < 0.35F ? base * 0.95F : base * random.between(-0.2F, 0.3F);
    std::vector<StrandPoint> points;
    constexpr int kPieces = 7;
    for (int i = 0; i <= kPieces; ++i) {
        const float done = static_cast<float>(i) / kPieces;
        const Vec3 up = normalized(along(spine, start + reach * done));
        const Vec3 aside = northAt(up) * (offset + drift * (done - 0.5F));
        const float ends = smoothStep(0, 0.12F, start + reach * done)
            * (1 - smoothStep(0.88F, 1, start + reach * done));
        points.push_back({normalized(up + aside) * (1.003F + (base - droop * done * done) * ends),
                          0.3F + 2.8F * done * (1 - done)});
    }
    return points;
}

// The channel round the filament, where the low corona is thin.
void addChannel(StrandSet &set, const Spine &spine, Random &random)
{
    std::vector<StrandPoint> points;
    for (const Vec3 &point : spine.points)
        points.push_back({point * 1.001F, 1});
    StrandStyle style;
    style.layer = StrandLayer::Dark;
    style.emission = 0.030F;
    style.width = random.between(0.014F, 0.024F);
    style.rate = spine.rate;
    set.add(style, points);
}

} // namespace

void addFilaments(StrandSet &set, const Surroundings &, std::uint32_t seed)
{
    Random random(seed, kFilamentStream);
    for (int i = 0; i < kFilaments; ++i) {
        const Spine spine = makeSpine(random);
        addChannel(set, spine, random);
        const int threads = static_cast<int>(spine.points.size()) * 9;
        for (int j = 0; j < threads; ++j)
            set.add(threadStyle(spine, random), makeThread(spine, random));
    }
}

} // namespace corvella::sun
