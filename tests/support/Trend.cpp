#include "support/Trend.h"

#include <algorithm>
#include <cmath>

namespace corvella::test {

namespace {

constexpr std::size_t kMostPoints = 20;
constexpr double kChance = 3; // standard errors

Point mean(const Point *first, const Point *last)
{
    Point sum;
    for (const Point *point = first; point != last; ++point) {
        sum.x += point->x;
        sum.y += point->y;
    }
    const auto count = static_cast<double>(last - first);
    return {sum.x / count, sum.y / count};
}

std::vector<Point> averaged(const std::vector<Point> &points)
{
    const std::size_t count = std::min(points.size(), kMostPoints);
    std::vector<Point> means;
    for (std::size_t i = 0; i < count; ++i) {
        means.push_back(mean(points.data() + points.size() * i / count,
                             points.data() + points.size() * (i + 1) / count));
    }
    return means;
}

} // namespace

bool Trend::isFlat() const
{
    return std::abs(slope) <= kChance * slopeError + leastStep;
}

double Trend::leastSlope() const
{
    return slope - kChance * slopeError;
}

Trend trendOf(const std::vector<Point> &points, double resolution)
{
    const std::vector<Point> means = averaged(points);
    const Point middle = mean(means.data(), means.data() + means.size());
    double xx = 0;
    double xy = 0;
    for (const Point &point : means) {
        xx += (point.x - middle.x) * (point.x - middle.x);
        xy += (point.x - middle.x) * (point.y - middle.y);
    }
    const double slope = xy / xx;
    double squares = 0;
    for (const Point &point : means) {
        const double off = point.y - middle.y - slope * (point.x - middle.x);
        squares += off * off;
    }
    const auto freedom = static_cast<double>(means.size() - 2);
    return {middle.y, slope, std::sqrt(squares / freedom / xx),
            resolution / (points.back().x - points.front().x)};
}

} // namespace corvella::test
