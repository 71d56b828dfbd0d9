#include "Preferences/TypedNumbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace corvella {

namespace {

constexpr double kDefaultIdleMinutes = 5;
constexpr qint64 kMostLoops = std::numeric_limits<int>::max();

} // namespace

double idleMinutesFrom(const QString &text)
{
    bool isNumber = false;
    const double minutes = text.toDouble(&isNumber);
    // Qt reads "inf" and "nan" as numbers.
    if (!isNumber || !std::isfinite(minutes))
        return kDefaultIdleMinutes;
    return std::max(minutes, 1.0);
}

int loopsFrom(const QString &text)
{
    bool isNumber = false;
    const qint64 loops = text.toLongLong(&isNumber);
    return isNumber ? static_cast<int>(std::clamp<qint64>(loops, 1, kMostLoops)) : 1;
}

} // namespace corvella
