#include "ColourTable.h"

#include "Vec3.h"

#include <algorithm>

namespace corvella::sun {

namespace {

Colour mixed(const Colour &a, const Colour &b, float share)
{
    return {mix(a.red, b.red, share), mix(a.green, b.green, share), mix(a.blue, b.blue, share)};
}

const ColourTable &gold()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.25F, {0.29F, 0.20F, 0.0F}},
                                    {0.50F, {0.64F, 0.44F, 0.02F}},
                                    {0.75F, {0.97F, 0.72F, 0.13F}},
                                    {0.90F, {1, 0.90F, 0.48F}},
                                    {1, {1, 0.99F, 0.90F}}});
    return table;
}

const ColourTable &bronze()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.25F, {0.27F, 0.14F, 0.04F}},
                                    {0.50F, {0.66F, 0.39F, 0.13F}},
                                    {0.75F, {0.93F, 0.69F, 0.36F}},
                                    {1, {1, 0.98F, 0.93F}}});
    return table;
}

const ColourTable &magenta()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.25F, {0.28F, 0.12F, 0.22F}},
                                    {0.50F, {0.62F, 0.32F, 0.48F}},
                                    {0.75F, {0.88F, 0.65F, 0.77F}},
                                    {1, {1, 0.97F, 0.99F}}});
    return table;
}

const ColourTable &ember()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.20F, {0.30F, 0, 0}},
                                    {0.42F, {0.72F, 0.03F, 0}},
                                    {0.62F, {0.97F, 0.30F, 0.02F}},
                                    {0.80F, {1, 0.60F, 0.14F}},
                                    {1, {1, 0.99F, 0.86F}}});
    return table;
}

const ColourTable &blue()
{
    static const ColourTable table({{0, {0, 0, 0.02F}},
                                    {0.25F, {0.02F, 0.14F, 0.36F}},
                                    {0.50F, {0.12F, 0.36F, 0.68F}},
                                    {0.75F, {0.50F, 0.72F, 0.94F}},
                                    {1, {1, 1, 1}}});
    return table;
}

const ColourTable &green()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.25F, {0.01F, 0.22F, 0.01F}},
                                    {0.50F, {0.10F, 0.52F, 0.06F}},
                                    {0.75F, {0.50F, 0.84F, 0.36F}},
                                    {1, {0.98F, 1, 0.94F}}});
    return table;
}

const ColourTable &teal()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.25F, {0, 0.20F, 0.20F}},
                                    {0.50F, {0.03F, 0.50F, 0.50F}},
                                    {0.75F, {0.35F, 0.84F, 0.83F}},
                                    {1, {0.97F, 1, 1}}});
    return table;
}

const ColourTable &olive()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.50F, {0.46F, 0.44F, 0.12F}},
                                    {0.75F, {0.74F, 0.72F, 0.42F}},
                                    {1, {1, 1, 0.92F}}});
    return table;
}

const ColourTable &salmon()
{
    static const ColourTable table({{0, {0, 0, 0}},
                                    {0.50F, {0.56F, 0.27F, 0.27F}},
                                    {0.75F, {0.82F, 0.58F, 0.57F}},
                                    {1, {1, 0.96F, 0.95F}}});
    return table;
}

} // namespace

float Tone::at(float brightness) const
{
    return std::log1p(std::max(0.0F, brightness) * exposure) / std::log1p(white * exposure);
}

ColourTable::ColourTable(const std::vector<Stop> &stops)
{
    std::size_t stop = 1;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const float value = static_cast<float>(i) / (kEntries - 1);
        while (stop + 1 < stops.size() && stops[stop].value < value)
            ++stop;
        const Stop &low = stops[stop - 1];
        const Stop &high = stops[stop];
        m_entries[i] =
            mixed(low.colour, high.colour, (value - low.value) / (high.value - low.value));
    }
}

Colour ColourTable::at(float value) const
{
    const float place = std::clamp(value, 0.0F, 1.0F) * (kEntries - 1);
    const auto index = std::min(static_cast<std::size_t>(place), m_entries.size() - 2);
    return mixed(m_entries[index], m_entries[index + 1], place - static_cast<float>(index));
}

const ColourTable &colourTableOf(Product product)
{
    switch (product) {
    case Product::Aia193:
        return bronze();
    case Product::Aia211:
        return magenta();
    case Product::Aia304:
        return ember();
    case Product::Aia335:
        return blue();
    case Product::Aia94:
        return green();
    case Product::Aia131:
        return teal();
    case Product::Aia1600:
        return olive();
    case Product::Aia1700:
        return salmon();
    default:
        return gold();
    }
}

Tone toneOf(Product product)
{
    switch (product) {
    case Product::Aia193:
        return {2.2F, 14};
    case Product::Aia211:
        return {2.5F, 14};
    case Product::Aia304:
        return {3.0F, 14};
    case Product::Aia335:
        return {2.2F, 14};
    case Product::Aia94:
        return {1.8F, 14};
    case Product::Aia131:
        return {1.2F, 18};
    case Product::Aia1600:
        return {0.5F, 2.7F};
    case Product::Aia1700:
        return {0.5F, 2.4F};
    default:
        return {3.2F, 24};
    }
}

} // namespace corvella::sun
