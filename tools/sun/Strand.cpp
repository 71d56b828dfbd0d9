#include "Strand.h"

namespace corvella::sun {

void StrandSet::add(const StrandStyle &style, std::span<const StrandPoint> points)
{
    if (points.size() < 2)
        return;
    m_strands.push_back({style, static_cast<std::uint32_t>(m_points.size()),
                         static_cast<std::uint32_t>(points.size())});
    m_points.insert(m_points.end(), points.begin(), points.end());
}

std::span<const StrandPoint> StrandSet::points(const Strand &strand) const
{
    return std::span(m_points).subspan(strand.first, strand.count);
}

} // namespace corvella::sun
