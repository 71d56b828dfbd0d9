#pragma once

#include "Builders.h"

namespace corvella::sun {

// The Sun of one seed, at the scene's start: its surface and every strand of plasma over it.
class Scene
{
public:
    Scene(std::uint32_t seed, int threads)
        : m_sun(seed, threads)
    {
        addCarpet(m_strands, m_sun, seed);
        addLoops(m_strands, m_sun, seed);
        addStreamers(m_strands, m_sun, seed);
        addFilaments(m_strands, m_sun, seed);
        addFlares(m_strands, m_sun, seed);
    }

    const Surroundings &sun() const { return m_sun; }
    const StrandSet &strands() const { return m_strands; }

private:
    Surroundings m_sun;
    StrandSet m_strands;
};

} // namespace corvella::sun
