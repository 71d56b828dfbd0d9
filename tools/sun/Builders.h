#pragma once

#include "Strand.h"
#include "Surroundings.h"

namespace corvella::sun {

// Each of these adds one kind of structure to the scene, from its own random stream.

// The quiet Sun's carpet of small loops, fibrils and hazy arches.
void addCarpet(StrandSet &set, const Surroundings &sun, std::uint32_t seed);

// The loops, fans and hot cores of active regions.
void addLoops(StrandSet &set, const Surroundings &sun, std::uint32_t seed);

// The far-reaching lines: streamers, and plumes over coronal holes.
void addStreamers(StrandSet &set, const Surroundings &sun, std::uint32_t seed);

// Filaments, which are prominences when they stand beyond the limb.
void addFilaments(StrandSet &set, const Surroundings &sun, std::uint32_t seed);

// Flares, and the arcades of loops that cool down after them.
void addFlares(StrandSet &set, const Surroundings &sun, std::uint32_t seed);

} // namespace corvella::sun
