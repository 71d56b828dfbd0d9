#include "updater/Updater.h"

namespace corvella {

namespace {

// The quiet span, in hours of local time.
constexpr int kQuietFrom = 3;
constexpr int kQuietUntil = 5;

// Where the clocks jump over this time, Qt moves it forward; where it comes twice, Qt takes the
// first.
QDateTime quietStart(const QDate &day, const QTimeZone &zone)
{
    return QDateTime(day, QTime(kQuietFrom, 0), zone);
}

} // namespace

QDateTime Updater::quietHour(const QDateTime &after, const QTimeZone &zone)
{
    const QDateTime local = after.toTimeZone(zone);
    const int hour = local.time().hour();
    if (hour >= kQuietFrom && hour < kQuietUntil)
        return after;
    const QDateTime candidate = quietStart(local.date(), zone);
    return candidate > after ? candidate : quietStart(local.date().addDays(1), zone);
}

} // namespace corvella
