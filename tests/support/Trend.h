// Whether a quantity that was read again and again grows. Pure functions.
#pragma once

#include <vector>

namespace corvella::test {

struct Point
{
    double x = 0;
    double y = 0;
};

// A straight line through points by least squares.
struct Trend
{
    double level = 0; // the mean of y
    double slope = 0;
    double slopeError = 0; // its standard error
    double leastStep = 0;  // the slope of a single step of the least that can be read

    // Whether the slope differs from none by no more than chance, three standard errors, and one
    // such step on the way from the first to the last.
    [[nodiscard]] bool isFlat() const;
    // The slope that chance cannot explain away.
    [[nodiscard]] double leastSlope() const;
};

// Of at least three points with different x, in the order in which they were taken. Neighbours are
// averaged first, to 20 points at most: what lingers from one reading to the next would let the
// error look smaller than it is. `resolution` is the least by which two readings can differ.
[[nodiscard]] Trend trendOf(const std::vector<Point> &points, double resolution = 0);

} // namespace corvella::test
