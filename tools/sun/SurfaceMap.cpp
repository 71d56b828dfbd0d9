#include "SurfaceMap.h"

#include "Parallel.h"

#include <algorithm>

namespace corvella::sun {

namespace {

struct Grid
{
    int columns;

    constexpr int rows() const { return columns / 2; }
    constexpr float texelsPerRadian() const { return static_cast<float>(columns) / kTurn; }
    std::size_t texel(int row, int column) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns)
            + static_cast<std::size_t>(column);
    }
    MapPlace placeOf(float latitude, float longitude) const;
};

constexpr Grid kFine{1080}; // a third of a degree each
constexpr Grid kSmooth{216};

MapPlace Grid::placeOf(float latitude, float longitude) const
{
    const int height = rows();
    const float turns = longitude / kTurn;
    const float x = (turns - std::floor(turns)) * static_cast<float>(columns) - 0.5F;
    const float y = std::clamp((kPi / 2 - latitude) * texelsPerRadian() - 0.5F, 0.0F,
                               static_cast<float>(height - 1));
    const int left = static_cast<int>(std::floor(x));
    const int west = (left + columns) % columns;
    const int east = (left + 1) % columns;
    const int top = static_cast<int>(y);
    const int bottom = std::min(top + 1, height - 1);
    return {texel(top, west),
            texel(top, east),
            texel(bottom, west),
            texel(bottom, east),
            x - static_cast<float>(left),
            y - static_cast<float>(top)};
}

float sample(const std::vector<float> &texels, const MapPlace &place)
{
    const float north = mix(texels[place.northWest], texels[place.northEast], place.east);
    const float south = mix(texels[place.southWest], texels[place.southEast], place.east);
    return mix(north, south, place.south);
}

// `value` maps a latitude and a longitude to a number.
template <typename Value>
std::vector<float> filled(const Grid &grid, int threads, const Value &value)
{
    const int rows = grid.rows();
    std::vector<float> texels(grid.texel(rows, 0));
    runParallel(rows, threads, [&](int row) {
        const float latitude = kPi / 2 - (static_cast<float>(row) + 0.5F) / grid.texelsPerRadian();
        for (int column = 0; column < grid.columns; ++column) {
            const float longitude = (static_cast<float>(column) + 0.5F) / grid.texelsPerRadian();
            texels[grid.texel(row, column)] = value(latitude, longitude);
        }
    });
    return texels;
}

} // namespace

void SurfaceMap::fill(const Function &value, int threads)
{
    m_texels = filled(kFine, threads, [&](float latitude, float longitude) {
        return value(surfacePoint(latitude, longitude));
    });
}

void SurfaceMap::fillSmooth(const Function &value, int threads)
{
    const std::vector<float> coarse =
        filled(kSmooth, threads, [&](float latitude, float longitude) {
            return value(surfacePoint(latitude, longitude));
        });
    m_texels = filled(kFine, threads, [&](float latitude, float longitude) {
        return sample(coarse, kSmooth.placeOf(latitude, longitude));
    });
}

MapPlace SurfaceMap::placeOf(float latitude, float longitude)
{
    return kFine.placeOf(latitude, longitude);
}

MapPlace SurfaceMap::placeOf(Vec3 up)
{
    return placeOf(std::asin(std::clamp(up.y, -1.0F, 1.0F)), std::atan2(up.x, up.z));
}

float SurfaceMap::at(const MapPlace &place) const
{
    return sample(m_texels, place);
}

} // namespace corvella::sun
