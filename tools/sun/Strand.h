#pragma once

#include "Vec3.h"

#include <cstdint>
#include <span>
#include <vector>

namespace corvella::sun {

// How a strand comes and goes: once a period it lights up for a part of it.
struct Cycle
{
    float period = 1000; // hours
    float phase = 0;     // in periods: how far the cycle has run at hour 0
    float lit = 1;       // the part of the period with light; 1 for a steady strand
    float rise = 0.3F;   // the part of that light in which it brightens; the rest it fades
};

// Where a strand's light goes in front of and behind cool, dark matter.
enum class StrandLayer : std::uint8_t {
    Low,  // below the dark threads, which dim it
    High, // over them
    Dark  // a dark thread: `emission` is then its optical depth, in units of its width
};

// What all points of a strand have in common.
struct StrandStyle
{
    StrandLayer layer = StrandLayer::Low;
    float emission = 1;   // energy a second and length, arbitrary unit
    float width = 0.002F; // standard deviation of its cross-section, solar radii
    float hottest = 5.9F; // log10 of the kelvins when it lights up ...
    float coolest = 5.9F; // ... and when it goes out
    float rate = 0;       // rotation, radians an hour
    bool isFine = false;  // one of very many: a small picture makes do with a part of them
    float sway = 0;       // how far a point one unit above the surface swings, solar radii
    float glow = 0;       // emission of helium at its surface, for dark threads beyond the limb
    Cycle cycle;
};

struct StrandPoint
{
    Vec3 position;
    float weight = 1; // of the emission here
};

// One thin tube of plasma along a magnetic field line, at the scene's start.
struct Strand
{
    StrandStyle style;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

// Many strands, with their points in one array.
class StrandSet
{
public:
    void add(const StrandStyle &style, std::span<const StrandPoint> points);

    const std::vector<Strand> &strands() const { return m_strands; }
    std::span<const StrandPoint> points(const Strand &strand) const;

private:
    std::vector<Strand> m_strands;
    std::vector<StrandPoint> m_points;
};

} // namespace corvella::sun
