#include "Builders.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kCarpetStream = 11;

// An even distribution.
struct Range
{
    float low;
    float high;
};

// One kind of small strand.
struct Kind
{
    int groups;
    int groupSize;     // strands side by side
    Range reach;       // degrees, evenly in its logarithm
    Range width;       // solar radii
    Range temperature; // log10 of kelvins
    float emission;
    float spread;       // of the emission, natural logarithms
    float scatter;      // of the direction round the fibrils, radians
    float arch;         // height, of the reach
    float likesNetwork; // 1: grows on the network; -1: under a thin corona; 0: anywhere
    float avoidsHoles;  // 0 to 1
    StrandLayer layer;
};

// Short, cool jets and loops on the network: the mottles of 304 Å.
constexpr Kind kRosettes{.groups = 60000,
                         .groupSize = 1,
                         .reach = {0.3F, 1.2F},
                         .width = {0.0008F, 0.0016F},
                         .temperature = {4.7F, 5.4F},
                         .emission = 0.0024F,
                         .spread = 0.7F,
                         .scatter = 1.6F,
                         .arch = 0.45F,
                         .likesNetwork = 1,
                         .avoidsHoles = 0,
                         .layer = StrandLayer::Low};

// The fine grain of 171 Å.
constexpr Kind kSmallLoops{.groups = 75000,
                           .groupSize = 2,
                           .reach = {0.3F, 2.4F},
                           .width = {0.0006F, 0.0014F},
                           .temperature = {5.5F, 6.0F},
                           .emission = 0.0012F,
                           .spread = 0.7F,
                           .scatter = 0.7F,
                           .arch = 0.25F,
                           .likesNetwork = 0.5F,
                           .avoidsHoles = 0.4F,
                           .layer = StrandLayer::Low};

// Long, faint arches: the silky texture of 193 and 211 Å.
constexpr Kind kHaze{.groups = 4500,
                     .groupSize = 6,
                     .reach = {3, 10},
                     .width = {0.0016F, 0.0045F},
                     .temperature = {5.95F, 6.35F},
                     .emission = 0.0018F,
                     .spread = 0.6F,
                     .scatter = 0.30F,
                     .arch = 0.20F,
                     .likesNetwork = 0.2F,
                     .avoidsHoles = 0.95F,
                     .layer = StrandLayer::High};

// Cool matter that lies along the field and hides what is under it.
constexpr Kind kDarkFibrils{.groups = 6500,
                            .groupSize = 6,
                            .reach = {1.5F, 5},
                            .width = {0.0014F, 0.0034F},
                            .temperature = {4, 4},
                            .emission = 0.0017F,
                            .spread = 0.5F,
                            .scatter = 0.30F,
                            .arch = 0.10F,
                            .likesNetwork = -0.7F,
                            .avoidsHoles = 0,
                            .layer = StrandLayer::Dark};

constexpr float kGroupSpread = 0.008F; // radians

constexpr int kBrightPoints = 170;
constexpr int kSpicules = 16000;

class CarpetBuilder
{
public:
    CarpetBuilder(StrandSet &set, const Surroundings &sun, std::uint32_t seed)
        : m_set(set)
        , m_sun(sun)
        , m_random(seed, kCarpetStream)
    {
    }

    void add(const Kind &kind);
    void addBrightPoint();
    void addSpicule();

private:
    float drawn(Range range) { return m_random.between(range.low, range.high); }
    bool isWanted(const Kind &kind, Vec3 up);
    void addStrand(const Kind &kind, Vec3 foot);
    StrandStyle styleOf(const Kind &kind, Vec3 foot);
    Vec3 startDirection(const Kind &kind, Vec3 foot);

    StrandSet &m_set;
    const Surroundings &m_sun;
    Random m_random;
};

void CarpetBuilder::add(const Kind &kind)
{
    for (int made = 0; made < kind.groups;) {
        const Vec3 foot = m_random.direction();
        if (!isWanted(kind, foot))
            continue;
        for (int i = 0; i < kind.groupSize; ++i)
            addStrand(kind, i == 0 ? foot : m_random.near(foot, kGroupSpread));
        ++made;
    }
}

bool CarpetBuilder::isWanted(const Kind &kind, Vec3 up)
{
    const MapPlace place = SurfaceMap::placeOf(up);
    const float network = 0.5F + m_sun.network(m_random.bits() % 2 == 0 ? 0 : 1).at(place);
    // Dark fibrils gather where the corona over them is thin.
    const float thin = 1 - smoothStep(-0.9F, 0.7F, m_sun.mottle(0).at(place));
    const float liked = kind.likesNetwork >= 0 ? network : thin;
    const float chance = mix(1, liked * liked, std::abs(kind.likesNetwork))
        * (1 - kind.avoidsHoles * m_sun.holes().at(place));
    return m_random.unit() < chance;
}

Vec3 CarpetBuilder::startDirection(const Kind &kind, Vec3 foot)
{
    const Vec3 along = m_sun.fibre(foot) * m_random.sign();
    const float turn = kind.scatter * m_random.gaussian();
    return along * std::cos(turn) + cross(foot, along) * std::sin(turn);
}

StrandStyle CarpetBuilder::styleOf(const Kind &kind, Vec3 foot)
{
    StrandStyle style;
    style.layer = kind.layer;
    style.isFine = true;
    style.emission = kind.emission * std::exp(kind.spread * m_random.gaussian());
    style.width = drawn(kind.width);
    style.hottest = drawn(kind.temperature);
    style.coolest = style.hottest;
    style.rate = rotationRate(foot.y);
    style.cycle.period = m_random.between(6, 30);
    style.cycle.phase = m_random.unit();
    style.cycle.lit = m_random.between(0.4F, 0.8F);
    style.cycle.rise = 0.4F;
    return style;
}

void CarpetBuilder::addStrand(const Kind &kind, Vec3 foot)
{
    const float share = m_random.unit();
    const float reach = radians(kind.reach.low * std::pow(kind.reach.high / kind.reach.low, share));
    const int pieces = std::clamp(static_cast<int>(reach / radians(0.6F)), 3, 10);
    const float step = reach / static_cast<float>(pieces);
    Vec3 along = startDirection(kind, foot);
    Vec3 up = foot;
    std::vector<StrandPoint> points;
    for (int i = 0; i <= pieces; ++i) {
        const float done = static_cast<float>(i) / static_cast<float>(pieces);
        const float arch = 4 * done * (1 - done);
        points.push_back({up * (1.001F + kind.arch * reach * arch), 0.25F + 0.75F * arch});
        const Vec3 fibre = m_sun.fibre(up);
        const Vec3 pulled = along * 2.5F + fibre * (dot(fibre, along) < 0 ? -1.0F : 1.0F);
        along = normalized(tangential(pulled, up));
        up = normalized(up + along * step);
    }
    m_set.add(styleOf(kind, foot), points);
}

// A jet of cool matter from the network, nearly upright: the fringe of the limb.
void CarpetBuilder::addSpicule()
{
    const Vec3 foot = m_random.direction();
    const Vec3 tip = normalized(m_random.near(foot, 0.005F)) * m_random.between(1.006F, 1.020F);
    StrandStyle style = styleOf(kRosettes, foot);
    style.emission *= 0.7F;
    style.hottest = m_random.between(4.7F, 5.2F);
    style.coolest = style.hottest;
    style.cycle.period = m_random.between(2, 7);
    m_set.add(style, std::vector<StrandPoint>{{foot, 0.8F}, {(foot + tip) * 0.5F, 1}, {tip, 0.1F}});
}

// A small bipole with a handful of short, bright loops.
void CarpetBuilder::addBrightPoint()
{
    const Vec3 middle = m_random.direction();
    const Vec3 half = m_sun.fibre(middle) * m_random.between(0.002F, 0.010F);
    const float brightness = 0.004F * std::exp(0.6F * m_random.gaussian());
    for (int i = 0; i < 9; ++i) {
        const Vec3 from = m_random.near(middle - half, 0.005F);
        const Vec3 to = m_random.near(middle + half, 0.005F);
        StrandStyle style = styleOf(kSmallLoops, middle);
        style.emission = brightness * std::exp(0.7F * m_random.gaussian());
        style.hottest = m_random.between(5.6F, 6.3F);
        style.coolest = style.hottest;
        const Vec3 top = normalized(from + to) * (1 + 0.5F * length(half));
        m_set.add(style,
                  std::vector<StrandPoint>{{from, 1},
                                           {(from + top) * 0.5F, 0.8F},
                                           {top, 0.7F},
                                           {(to + top) * 0.5F, 0.8F},
                                           {to, 1}});
    }
}

} // namespace

void addCarpet(StrandSet &set, const Surroundings &sun, std::uint32_t seed)
{
    CarpetBuilder builder(set, sun, seed);
    for (const Kind &kind : {kRosettes, kSmallLoops, kHaze, kDarkFibrils})
        builder.add(kind);
    for (int i = 0; i < kBrightPoints; ++i)
        builder.addBrightPoint();
    for (int i = 0; i < kSpicules; ++i)
        builder.addSpicule();
}

} // namespace corvella::sun
