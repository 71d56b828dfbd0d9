#pragma once

#include <vector>

namespace corvella::sun {

// How bright an optically thin shell is at a distance from the disc's centre. Its density falls off
// with height as exp(-height / scale); the Sun's body hides what lies behind it. A line of sight
// crosses ever more of the shell towards the limb, and twice as much just beyond it.
class LimbProfile
{
public:
    explicit LimbProfile(float scale);

    // `distance` in solar radii; 1 at the disc's centre.
    float at(float distance) const;

private:
    std::vector<float> m_values;
};

} // namespace corvella::sun
