#pragma once

#include "Heliography.h"

namespace corvella::sun {

// Where things stand in a picture at one instant. Picture coordinates are solar radii from the
// disc's centre, x to the west, y to the north, z towards the observer.
class View
{
public:
    View(double hours, int size);

    double hours() const { return m_hours; }
    int size() const { return m_size; }
    float pixelsPerRadius() const { return m_scale; }

    float column(float x) const { return m_centre + x * m_scale; }
    float line(float y) const { return m_centre - y * m_scale; }
    float across(int column) const
    {
        return (static_cast<float>(column) + 0.5F - m_centre) / m_scale;
    }
    float upwards(int line) const { return (m_centre - static_cast<float>(line) - 0.5F) / m_scale; }

    // The turn of matter that rotates at `rate` (radians an hour) since the scene's start.
    float turn(float rate) const;

    // From the Sun's axes, already turned, to the picture's and back: the Sun's north pole leans
    // towards the observer.
    static Vec3 tilted(Vec3 p);
    static Vec3 upright(Vec3 p);

private:
    double m_hours;
    int m_size;
    float m_scale;
    float m_centre;
};

} // namespace corvella::sun
