#include "MagneticField.h"

#include <algorithm>

namespace corvella::sun {

namespace {

// Between these distances from the centre the wind takes over.
constexpr float kWindStart = 1.25F;
constexpr float kWindFull = 1.9F;

// The unit direction of a line that leaves the surface with the sign `sense`.
Vec3 direction(const MagneticField &field, Vec3 point, float sense)
{
    const Vec3 along = normalized(field.at(point)) * sense;
    const float distance = length(point);
    const float pull = smoothStep(kWindStart, kWindFull, distance);
    const Vec3 outwards = point * (1 / distance);
    const float way = dot(along, outwards) < 0 ? -1.0F : 1.0F;
    return normalized(along * (1 - pull) + outwards * (way * pull));
}

} // namespace

Vec3 MagneticField::at(Vec3 point) const
{
    Vec3 sum;
    for (const Pole &pole : m_poles) {
        const Vec3 offset = point - pole.position;
        const float square = dot(offset, offset) + 1e-6F;
        sum = sum + offset * (pole.strength / (square * std::sqrt(square)));
    }
    return sum;
}

MagneticField MagneticField::around(Vec3 centre, float reach) const
{
    MagneticField part;
    for (const Pole &pole : m_poles) {
        if (length(pole.position - centre) < reach)
            part.add(pole);
    }
    return part;
}

FieldLine traceFieldLine(const MagneticField &field, Vec3 foot, const FieldLineLimits &limits)
{
    FieldLine line;
    const float sense = dot(field.at(foot), foot) < 0 ? -1.0F : 1.0F;
    Vec3 point = foot;
    line.points.push_back(point);
    for (int i = 0; i < limits.steps; ++i) {
        const float height = length(point) - 1;
        const float step = limits.firstStep + 0.08F * std::max(0.0F, height);
        const Vec3 middle = point + direction(field, point, sense) * (step / 2);
        point = point + direction(field, middle, sense) * step;
        const float reached = length(point) - 1;
        line.points.push_back(point);
        line.length += step;
        line.top = std::max(line.top, reached);
        if (reached < 0)
            return line;
        if (reached > limits.ceiling)
            break;
    }
    return line;
}

} // namespace corvella::sun
