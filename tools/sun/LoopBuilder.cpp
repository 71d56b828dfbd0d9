#include "Builders.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kLoopStream = 12;

class LoopBuilder
{
public:
    LoopBuilder(StrandSet &set, const Surroundings &sun, std::uint32_t seed)
        : m_set(set)
        , m_sun(sun)
        , m_random(seed, kLoopStream)
    {
    }

    void add(const ActiveRegion &region);

private:
    Vec3 footOf(const ActiveRegion &region, float spread);
    StrandStyle commonStyle(const ActiveRegion &region);
    void addFan(const ActiveRegion &region, const MagneticField &field);
    void addBundle(const ActiveRegion &region, const MagneticField &field);
    void addHaze(const ActiveRegion &region, const MagneticField &field);
    void addMoss(const ActiveRegion &region);
    void shapeCore(StrandStyle &style);
    void shapeLoop(StrandStyle &style);

    StrandSet &m_set;
    const Surroundings &m_sun;
    Random m_random;
};

// Longer loops have thinner plasma.
float densityFactor(const FieldLine &line)
{
    return std::pow(0.28F / (0.16F + line.length), 1.5F);
}

// The plasma thins out with height.
std::vector<StrandPoint> weighted(const FieldLine &line, float scale)
{
    std::vector<StrandPoint> points;
    for (const Vec3 &point : line.points)
        points.push_back({point, std::exp(-std::max(0.0F, length(point) - 1) / scale)});
    return points;
}

// The same with distance from the foot, for lines that may run far at a small height.
std::vector<StrandPoint> fading(const FieldLine &line, float scale)
{
    std::vector<StrandPoint> points;
    float way = 0;
    for (const Vec3 &point : line.points) {
        way += points.empty() ? 0 : length(point - points.back().position);
        points.push_back({point, std::exp(-way / scale)});
    }
    return points;
}

void LoopBuilder::add(const ActiveRegion &region)
{
    const MagneticField field = m_sun.fieldOf(region);
    const auto times = [&](float count) { return static_cast<int>(count * region.size); };
    for (int i = 0; i < times(22); ++i)
        addFan(region, field);
    for (int i = 0; i < times(110); ++i)
        addBundle(region, field);
    for (int i = 0; i < times(160); ++i)
        addHaze(region, field);
    addMoss(region);
}

Vec3 LoopBuilder::footOf(const ActiveRegion &region, float spread)
{
    const Pole &pole = region.poles[m_random.bits() % region.poles.size()];
    return m_random.near(normalized(pole.position), spread);
}

StrandStyle LoopBuilder::commonStyle(const ActiveRegion &region)
{
    StrandStyle style;
    style.layer = StrandLayer::High;
    style.width = m_random.between(0.0010F, 0.0024F);
    style.rate = region.rate;
    style.cycle.phase = m_random.unit();
    return style;
}

// Lines from the rim of a spot that reach far or never come back: bright at the foot, cool, steady.
void LoopBuilder::addFan(const ActiveRegion &region, const MagneticField &field)
{
    const Vec3 middle = footOf(region, 0.015F);
    const float spread = m_random.between(0.004F, 0.011F);
    const float scale = m_random.between(0.035F, 0.13F);
    const float brightness = 0.0030F * std::exp(0.8F * m_random.gaussian());
    const float temperature = m_random.between(5.75F, 6.0F);
    const int strands = static_cast<int>(m_random.between(14, 44));
    for (int i = 0; i < strands; ++i) {
        StrandStyle style = commonStyle(region);
        style.emission = brightness * std::exp(0.8F * m_random.gaussian());
        style.hottest = temperature + 0.1F * m_random.gaussian();
        style.coolest = style.hottest - 0.05F;
        style.cycle.period = m_random.between(14, 50);
        style.cycle.lit = 0.8F;
        style.cycle.rise = 0.4F;
        style.sway = 0.02F;
        const Vec3 foot = m_random.near(middle, spread);
        m_set.add(style, fading(traceFieldLine(field, foot, {}), 1.4F * scale));
    }
}

void LoopBuilder::shapeCore(StrandStyle &style)
{
    style.hottest = m_random.between(6.2F, 6.8F);
    style.coolest = style.hottest - 0.3F;
    style.cycle.lit = 0.8F;
}

// A loop is heated, then cools through one filter after another and drains.
void LoopBuilder::shapeLoop(StrandStyle &style)
{
    style.hottest = m_random.between(5.95F, 6.5F);
    style.coolest = m_random.between(5.6F, 5.9F);
    style.cycle.lit = m_random.between(0.4F, 0.75F);
    style.sway = 0.03F;
}

// Strands that start side by side and live through much the same heating.
void LoopBuilder::addBundle(const ActiveRegion &region, const MagneticField &field)
{
    const Vec3 middle = footOf(region, 0.018F);
    const float spread = m_random.between(0.003F, 0.010F);
    const int strands = static_cast<int>(m_random.between(3, 14));
    StrandStyle style = commonStyle(region);
    style.emission = 0.0050F * std::exp(0.8F * m_random.gaussian());
    style.cycle.period = m_random.between(6, 24);
    for (int i = 0; i < strands; ++i) {
        const FieldLine line = traceFieldLine(field, m_random.near(middle, spread), {});
        if (i == 0 && line.top < 0.03F)
            shapeCore(style);
        else if (i == 0)
            shapeLoop(style);
        StrandStyle own = style;
        own.width = m_random.between(0.0010F, 0.0022F);
        own.emission *= std::exp(0.6F * m_random.gaussian()) * densityFactor(line);
        own.cycle.phase += 0.1F * m_random.gaussian();
        m_set.add(own, weighted(line, 0.04F + 0.35F * line.top));
    }
}

// The many loops that are too faint to tell apart, hot in the middle of the region.
void LoopBuilder::addHaze(const ActiveRegion &region, const MagneticField &field)
{
    StrandStyle style = commonStyle(region);
    const FieldLine line = traceFieldLine(field, footOf(region, 0.025F), {});
    style.emission = 0.05F * std::exp(0.6F * m_random.gaussian()) * 0.08F / (0.06F + line.top);
    style.width = m_random.between(0.004F, 0.011F);
    style.hottest = m_random.between(6.1F, 6.3F) + 0.5F * (1 - smoothStep(0.01F, 0.1F, line.top));
    style.coolest = style.hottest - 0.15F;
    style.cycle.period = m_random.between(12, 40);
    style.cycle.lit = 0.85F;
    style.cycle.rise = 0.4F;
    m_set.add(style, weighted(line, 0.05F + 0.6F * line.top));
}

// The feet of hot loops: a sponge of bright points and tiny loops over the plage.
void LoopBuilder::addMoss(const ActiveRegion &region)
{
    const int count = static_cast<int>(1600 * region.size);
    for (int i = 0; i < count; ++i) {
        const Vec3 foot = footOf(region, 0.020F);
        const Vec3 end = m_random.near(foot, 0.009F);
        StrandStyle style = commonStyle(region);
        style.layer = StrandLayer::Low;
        style.emission = 0.0055F * std::exp(0.9F * m_random.gaussian());
        style.hottest =
            m_random.unit() < 0.5F ? m_random.between(4.75F, 5.2F) : m_random.between(5.4F, 6.1F);
        style.coolest = style.hottest;
        style.cycle.period = m_random.between(3, 16);
        style.cycle.lit = 0.7F;
        style.cycle.rise = 0.4F;
        const Vec3 top = normalized(foot + end) * 1.004F;
        m_set.add(style, std::vector<StrandPoint>{{foot, 1}, {top, 1}, {end, 1}});
    }
}

} // namespace

void addLoops(StrandSet &set, const Surroundings &sun, std::uint32_t seed)
{
    LoopBuilder builder(set, sun, seed);
    for (const ActiveRegion &region : sun.regions())
        builder.add(region);
}

} // namespace corvella::sun
