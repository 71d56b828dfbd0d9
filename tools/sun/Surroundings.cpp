#include "Surroundings.h"

#include <algorithm>

namespace corvella::sun {

namespace {

constexpr std::uint32_t kFieldStream = 2;
constexpr int kQuietPoles = 90;
constexpr int kPolarPoles = 7;

constexpr int kFibreColumns = 240;
constexpr int kFibreRows = 120;
constexpr float kFibreHeight = 1.02F; // where the field is asked for the fibrils' direction

constexpr double kEvolutionPeriod = 70; // hours: the surface looks new after a quarter of it

// Far enough apart to have nothing in common.
constexpr Vec3 kOtherTime{57.3F, -21.8F, 40.1F};

} // namespace

Surroundings::Surroundings(std::uint32_t seed, int threads)
    : m_noise(seed)
    , m_regions(makeActiveRegions(seed))
{
    makeFields(seed);
    makeMaps(threads);
    makeFibres();
}

void Surroundings::makeFields(std::uint32_t seed)
{
    Random random(seed, kFieldStream);
    for (const ActiveRegion &region : m_regions) {
        const float flux = (region.centre.y > 0 ? 1.0F : -1.0F) * region.size * region.size;
        const Vec3 half = region.axis * (region.separation / 2);
        m_global.add({(region.centre - half) * 0.97F, flux});
        m_global.add({(region.centre + half) * 0.97F, -flux});
    }
    for (int i = 0; i < kQuietPoles; ++i)
        m_global.add({random.direction() * random.between(0.90F, 0.95F),
                      random.sign() * random.between(0.05F, 0.35F)});
    for (int i = 0; i < 2 * kPolarPoles; ++i) {
        const float side = i % 2 == 0 ? 1.0F : -1.0F;
        const Vec3 up =
            surfacePoint(side * radians(random.between(68, 90)), random.between(0, kTurn));
        m_global.add({up * 0.88F, side * -0.35F});
    }
}

MagneticField Surroundings::fieldOf(const ActiveRegion &region) const
{
    const MagneticField coarse = m_global.around(region.centre, 0.7F);
    MagneticField field;
    for (const Pole &pole : coarse.poles()) {
        // The region's own coarse poles give way to its fine ones.
        if (length(pole.position - region.centre) > region.separation * 0.75F)
            field.add(pole);
    }
    for (const Pole &pole : region.poles)
        field.add(pole);
    return field;
}

float Surroundings::holeAt(Vec3 up) const
{
    const Vec3 bent = up + m_noise.vector(up * 3.0F) * 0.22F + m_noise.vector(up * 9.0F) * 0.05F;
    const float polar = smoothStep(0.86F, 0.93F, std::abs(bent.y));
    // Some holes reach down to lower latitudes, away from active regions.
    const float low =
        smoothStep(0.30F, 0.42F, m_noise.fractal(bent * 1.5F + Vec3{7, 7, 7}, 2, 0.5F));
    const float far = 1 - smoothStep(0.15F, 0.5F, activityAt(up));
    return std::max(polar, low * far);
}

float Surroundings::activityAt(Vec3 up) const
{
    float sum = 0;
    for (const ActiveRegion &region : m_regions) {
        const float closeness = dot(up, region.centre);
        if (closeness < 0.9F)
            continue;
        const float square = 2 * (1 - closeness);
        const float reach = region.separation * 1.1F;
        sum += region.size * std::exp(-square / (reach * reach));
    }
    return sum;
}

// Strong in a region's heart, and in old flux that is spread out in patches over the activity
// belts.
float Surroundings::plageAt(Vec3 up) const
{
    const Vec3 bent = up + m_noise.vector(up * 6.0F) * 0.08F + m_noise.vector(up * 20.0F) * 0.025F;
    const float belt = 1 - smoothStep(0.35F, 0.75F, std::abs(up.y));
    const float old =
        smoothStep(0.05F, 0.5F, m_noise.fractal(bent * 3.2F + Vec3{3, 9, 4}, 3, 0.6F));
    return 0.35F * belt * old + activityAt(normalized(bent));
}

// Patches within patches: the noise is bent by itself, so that they have no common grain.
float Surroundings::mottleAt(Vec3 up, Vec3 offset) const
{
    const Vec3 p = up + offset;
    const Vec3 bent = p + m_noise.vector(p * 7.0F) * 0.06F + m_noise.vector(p * 19.0F) * 0.018F;
    return 1.35F * m_noise.fractal(bent * 3.7F, 6, 0.86F);
}

// The walls between supergranules (2.5 degrees across), broken up into clumps.
float Surroundings::networkAt(Vec3 up, Vec3 offset) const
{
    const Vec3 p = up + offset;
    const Vec3 bent = p + m_noise.vector(p * 30.0F) * 0.012F;
    const float wall = 1 - smoothStep(0.02F, 0.30F, std::abs(m_noise.at(bent * 21.0F)));
    const float clumps = m_noise.fractal(bent * 36.0F, 3, 0.75F);
    return smoothStep(-0.6F, 1.0F, 0.25F * wall + 1.1F * clumps) - 0.5F;
}

void Surroundings::makeMaps(int threads)
{
    for (std::size_t i = 0; i < m_mottles.size(); ++i) {
        const Vec3 offset = kOtherTime * static_cast<float>(i);
        m_mottles[i].fill([&](Vec3 up) { return mottleAt(up, offset); }, threads);
        m_networks[i].fill([&](Vec3 up) { return networkAt(up, offset); }, threads);
    }
    m_activity.fillSmooth([&](Vec3 up) { return activityAt(up); }, threads);
    m_plage.fillSmooth([&](Vec3 up) { return plageAt(up); }, threads);
    m_hole.fillSmooth([&](Vec3 up) { return holeAt(up); }, threads);
    m_density.fillSmooth(
        [&](Vec3 up) { return std::exp(0.9F * m_noise.fractal(up * 2.2F, 3, 0.6F)); }, threads);
    m_phase.fillSmooth([&](Vec3 up) { return 3 * m_noise.fractal(up * 3.0F, 2, 0.5F); }, threads);
}

float Surroundings::evolving(const SurfaceMap &from, const SurfaceMap &to, const MapPlace &place,
                             double hours) const
{
    const auto turns = static_cast<float>(std::remainder(hours / kEvolutionPeriod, 1.0));
    const float angle = kTurn * turns + m_phase.at(place);
    return from.at(place) * std::cos(angle) + to.at(place) * std::sin(angle);
}

// The field's direction, with swirls that no large-scale model has.
Vec3 Surroundings::fibreAt(Vec3 up) const
{
    const Vec3 field = normalized(tangential(m_global.at(up * kFibreHeight), up));
    const Vec3 coarse = tangential(m_noise.vector(up * 5.0F), up);
    const Vec3 fine = tangential(m_noise.vector(up * 13.0F), up);
    return normalized(field + (coarse * 0.9F + fine * 0.6F));
}

void Surroundings::makeFibres()
{
    for (int row = 0; row < kFibreRows; ++row) {
        const float north = (static_cast<float>(row) + 0.5F) * kPi / kFibreRows;
        for (int column = 0; column < kFibreColumns; ++column) {
            const float longitude = (static_cast<float>(column) + 0.5F) * kTurn / kFibreColumns;
            m_fibres.push_back(fibreAt(surfacePoint(kPi / 2 - north, longitude)));
        }
    }
}

Vec3 Surroundings::fibre(Vec3 up) const
{
    const float turned = std::atan2(up.x, up.z) / kTurn;
    const int column =
        static_cast<int>((turned - std::floor(turned)) * kFibreColumns) % kFibreColumns;
    const float latitude = std::asin(std::clamp(up.y, -1.0F, 1.0F));
    const int row =
        std::clamp(static_cast<int>((0.5F - latitude / kPi) * kFibreRows), 0, kFibreRows - 1);
    return m_fibres[static_cast<std::size_t>(row) * kFibreColumns
                    + static_cast<std::size_t>(column)];
}

} // namespace corvella::sun
