#include "StrandPainter.h"

#include "Parallel.h"

#include <algorithm>
#include <array>

namespace corvella::sun {

namespace {

// The strands are cut into this many parts whatever the number of threads, and the parts are added
// up in order, so that rounding is the same everywhere.
constexpr int kParts = 4;

constexpr float kThinnest = 0.62F; // pixels: a thinner strand would flicker between pixels
constexpr float kSpacing = 1.4F;   // of dabs, in standard deviations: their sum is smooth
constexpr float kReach = 2.6F;     // of a dab, in standard deviations
constexpr float kFaintest = 2e-4F; // a strand below this is not worth drawing
constexpr float kFullDetail = 180; // pixels to a solar radius, where all fine strands are drawn
constexpr int kFewest = 4;         // one in so many is drawn in the smallest pictures
constexpr int kLargestDab = 420;   // pixels from its middle

// exp(-u / 2) for u from 0 to kReach squared and a little more.
class BellTable
{
public:
    BellTable()
    {
        for (std::size_t i = 0; i < m_values.size(); ++i)
            m_values[i] = std::exp(static_cast<float>(i) / kStepsPerUnit / -2);
    }

    float at(float square) const
    {
        const auto index = static_cast<std::size_t>(square * kStepsPerUnit);
        return index < m_values.size() ? m_values[index] : 0;
    }

private:
    static constexpr float kStepsPerUnit = 128;
    std::array<float, 1280> m_values{};
};

const BellTable &bell()
{
    static const BellTable table;
    return table;
}

struct Dab
{
    float x = 0; // pixels
    float y = 0;
    float deviation = 1; // pixels
    float peak = 0;
};

void paintDab(Plane &plane, const Dab &dab)
{
    const float reach = std::min(dab.deviation * kReach, static_cast<float>(kLargestDab));
    const int left = std::max(0, static_cast<int>(std::ceil(dab.x - reach - 0.5F)));
    const int right = std::min(plane.size() - 1, static_cast<int>(dab.x + reach - 0.5F));
    const int top = std::max(0, static_cast<int>(std::ceil(dab.y - reach - 0.5F)));
    const int bottom = std::min(plane.size() - 1, static_cast<int>(dab.y + reach - 0.5F));
    if (left > right)
        return;
    const float scale = 1 / (dab.deviation * dab.deviation);
    std::array<float, 2 * kLargestDab + 2> across; // NOLINT: filled as far as it is read
    const std::size_t width = static_cast<std::size_t>(right - left) + 1;
    for (std::size_t i = 0; i < width; ++i) {
        const float dx = static_cast<float>(left + static_cast<int>(i)) + 0.5F - dab.x;
        across[i] = bell().at(dx * dx * scale);
    }
    for (int y = top; y <= bottom; ++y) {
        const float dy = static_cast<float>(y) + 0.5F - dab.y;
        const float strength = dab.peak * bell().at(dy * dy * scale);
        float *row = plane.row(y) + left;
        for (std::size_t i = 0; i < width; ++i)
            row[i] += strength * across[i];
    }
}

// How a strand shines at one instant.
struct Moment
{
    float light = 0;       // 0 to 1
    float temperature = 0; // log10 of kelvins
};

Moment momentOf(const StrandStyle &style, double hours)
{
    const Cycle &cycle = style.cycle;
    if (cycle.lit >= 1)
        return {1, style.hottest};
    const double turns =
        hours / static_cast<double>(cycle.period) + static_cast<double>(cycle.phase);
    const auto done = static_cast<float>(turns - std::floor(turns));
    if (done >= cycle.lit)
        return {};
    const float age = done / cycle.lit;
    const float rising = smoothStep(0, cycle.rise, age);
    const float falling = 1 - smoothStep(cycle.rise, 1, age);
    // Radiation and conduction cool hot plasma fast and cooler plasma slowly.
    return {rising * falling, mix(style.hottest, style.coolest, std::sqrt(age))};
}

// Draws the strands of one set into one set of layers.
class Painter
{
public:
    Painter(const StrandSet &set, const FilterTraits &filter, const View &view,
            StrandLayers &layers)
        : m_set(set)
        , m_filter(filter)
        , m_view(view)
        , m_layers(layers)
        , m_oneIn(std::clamp(static_cast<int>(kFullDetail / view.pixelsPerRadius()), 1, kFewest))
    {
    }

    void paint(const Strand &strand);

private:
    struct Seen
    {
        Vec3 position; // picture coordinates
        float weight = 0;
    };

    float brightness(const StrandStyle &style, const Moment &moment) const;
    void look(const Strand &strand);
    void paintPiece(const Seen &from, const Seen &to, const StrandStyle &style, float light);
    void paintDark(const Seen &seen, Dab dab, const StrandStyle &style);

    const StrandSet &m_set;
    const FilterTraits &m_filter;
    const View &m_view;
    StrandLayers &m_layers;
    int m_oneIn;              // of the fine strands, which shine for the others
    std::vector<Seen> m_seen; // the current strand's points
};

bool isHidden(Vec3 p)
{
    return p.z < 0 && p.x * p.x + p.y * p.y < 1;
}

float Painter::brightness(const StrandStyle &style, const Moment &moment) const
{
    if (style.layer == StrandLayer::Dark)
        return style.emission * moment.light;
    return style.emission * moment.light * responseAt(m_filter, moment.temperature);
}

void Painter::look(const Strand &strand)
{
    const StrandStyle &style = strand.style;
    const float turn = m_view.turn(style.rate);
    const float cosine = std::cos(turn);
    const float sine = std::sin(turn);
    // Every strand swings at its own pace, between once in 2 and once in 8 hours.
    const auto hours = static_cast<float>(m_view.hours());
    const float phase = style.cycle.phase - std::floor(style.cycle.phase);
    const float swing = style.sway * std::sin(kTurn * (hours / (2 + 6 * phase) + phase));
    m_seen.clear();
    const std::span<const StrandPoint> points = m_set.points(strand);
    // A small picture does not need every point of a long strand either.
    const std::size_t stride = points.size() > 12 ? static_cast<std::size_t>(m_oneIn) : 1;
    for (std::size_t i = 0; i < points.size(); i += stride) {
        const StrandPoint &point = points[i];
        const Vec3 p = point.position;
        const float shift = swing * std::max(0.0F, dot(p, p) - 1) / 2;
        const Vec3 turned{p.x * cosine + p.z * sine + shift, p.y + shift,
                          p.z * cosine - p.x * sine};
        m_seen.push_back({View::tilted(turned), point.weight});
    }
}

void Painter::paintPiece(const Seen &from, const Seen &to, const StrandStyle &style, float light)
{
    const Vec3 way = to.position - from.position;
    const float pixels = std::hypot(way.x, way.y) * m_view.pixelsPerRadius();
    const float deviation = std::max(kThinnest, style.width * m_view.pixelsPerRadius());
    const int dabs = std::max(1, static_cast<int>(pixels / (kSpacing * deviation) + 0.9F));
    const float radii = deviation / m_view.pixelsPerRadius();
    const float each = light * length(way) / static_cast<float>(dabs) / (kTurn * radii * radii);
    for (int i = 0; i < dabs; ++i) {
        const float share = (static_cast<float>(i) + 0.5F) / static_cast<float>(dabs);
        const Seen seen{from.position + way * share, mix(from.weight, to.weight, share)};
        if (isHidden(seen.position))
            continue;
        const Dab dab{m_view.column(seen.position.x), m_view.line(seen.position.y), deviation,
                      each * seen.weight};
        if (style.layer == StrandLayer::Dark)
            paintDark(seen, dab, style);
        else
            paintDab(style.layer == StrandLayer::Low ? m_layers.low : m_layers.high, dab);
    }
}

// Cool matter hides what lies behind it. It shines with scattered light of its own, which shows
// only against the sky: before the disc it hides more than it gives.
void Painter::paintDark(const Seen &seen, Dab dab, const StrandStyle &style)
{
    const float distance = std::hypot(seen.position.x, seen.position.y);
    // Low threads sink into the haze near the limb.
    const float sunk = smoothStep(0.90F, 0.985F, distance)
        * (1 - smoothStep(1.006F, 1.016F, length(seen.position)));
    Dab depth = dab;
    depth.peak *= m_filter.opacity * (1 - sunk);
    paintDab(m_layers.dark, depth);
    dab.peak *= style.glow * m_filter.glow * smoothStep(0.985F, 1.004F, distance);
    if (dab.peak > 0)
        paintDab(m_layers.high, dab);
}

void Painter::paint(const Strand &strand)
{
    const bool isThinned = strand.style.isFine && m_oneIn > 1;
    if (isThinned && strand.first % static_cast<std::uint32_t>(m_oneIn) != 0)
        return;
    const Moment moment = momentOf(strand.style, m_view.hours());
    const float light =
        brightness(strand.style, moment) * static_cast<float>(isThinned ? m_oneIn : 1);
    if (light < kFaintest * strand.style.width)
        return;
    look(strand);
    for (std::size_t i = 1; i < m_seen.size(); ++i) {
        if (!isHidden(m_seen[i - 1].position) || !isHidden(m_seen[i].position))
            paintPiece(m_seen[i - 1], m_seen[i], strand.style, light);
    }
}

void addPlane(Plane &sum, const Plane &part, int y)
{
    float *to = sum.row(y);
    const float *from = part.row(y);
    for (int x = 0; x < sum.size(); ++x)
        to[x] += from[x];
}

} // namespace

StrandLayers paintStrands(const StrandSet &set, const FilterTraits &filter, const View &view,
                          int threads)
{
    std::vector<StrandLayers> parts(kParts, StrandLayers(view.size()));
    const std::vector<Strand> &strands = set.strands();
    runParallel(kParts, threads, [&](int part) {
        Painter painter(set, filter, view, parts[static_cast<std::size_t>(part)]);
        for (auto i = static_cast<std::size_t>(part); i < strands.size(); i += kParts)
            painter.paint(strands[i]);
    });
    StrandLayers sum = std::move(parts.front());
    runParallel(view.size(), threads, [&](int y) {
        for (std::size_t i = 1; i < parts.size(); ++i) {
            addPlane(sum.low, parts[i].low, y);
            addPlane(sum.dark, parts[i].dark, y);
            addPlane(sum.high, parts[i].high, y);
        }
    });
    return sum;
}

} // namespace corvella::sun
