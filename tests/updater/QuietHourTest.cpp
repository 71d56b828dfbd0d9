#include "updater/Updater.h"

#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <iostream>
#include <vector>

// Prints a failure readably.
static void PrintTo(const QDateTime &date, std::ostream *stream)
{
    *stream << date.toString(Qt::ISODate).toStdString();
}

namespace corvella {
namespace {

struct Row
{
    const char *name;
    QDateTime after;
    QDateTime expected;
};

class QuietHourTable : public testing::TestWithParam<Row>
{
};

QDateTime denver(int day, int hour, int minute, int second = 0, int month = 10)
{
    return QDateTime(QDate(2026, month, day), QTime(hour, minute, second),
                     QTimeZone("America/Denver"));
}

// 03:00 does not exist on this day: the clocks go from 03:00 to 04:00 (01:00 UTC).
QDateTime helsinki(int day, int hour, int minute)
{
    return QDateTime(QDate(2026, 3, day), QTime(hour, minute), QTimeZone("Europe/Helsinki"));
}

TEST_P(QuietHourTable, Holds)
{
    const Row &row = GetParam();
    ASSERT_TRUE(row.after.isValid());
    EXPECT_EQ(Updater::quietHour(row.after, row.after.timeZone()), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    QuietHour, QuietHourTable,
    testing::Values(Row{"Midnight", denver(5, 0, 0), denver(5, 3, 0)},
                    Row{"BeforeTheSpan", denver(5, 2, 30), denver(5, 3, 0)},
                    Row{"LastSecondBeforeIt", denver(5, 2, 59, 59), denver(5, 3, 0)},
                    Row{"ItsBegin", denver(5, 3, 0), denver(5, 3, 0)},
                    Row{"ItsLastSecond", denver(5, 4, 59, 59), denver(5, 4, 59, 59)},
                    Row{"ItsLastMinute", denver(5, 4, 59), denver(5, 4, 59)},
                    Row{"ItsEnd", denver(5, 5, 0), denver(6, 3, 0)},
                    Row{"Afternoon", denver(5, 14, 0), denver(6, 3, 0)},
                    Row{"LastMinuteOfTheDay", denver(5, 23, 59), denver(6, 3, 0)},
                    Row{"EndOfTheMonth", denver(31, 14, 0), denver(1, 3, 0, 0, 11)},
                    // 03:00 follows one second upon 01:59:59.
                    Row{"ClocksGoForwardBeforeIt", denver(8, 1, 59, 59, 3), denver(8, 3, 0, 0, 3)},
                    Row{"ClocksGoForwardOverIt", helsinki(29, 1, 0),
                        QDateTime(QDate(2026, 3, 29), QTime(1, 0), Qt::UTC)},
                    Row{"ClocksGoForwardOverItTomorrow", helsinki(28, 14, 0),
                        QDateTime(QDate(2026, 3, 29), QTime(1, 0), Qt::UTC)}),
    [](const auto &row) { return row.param.name; });

TEST(QuietHour, TakesTheFirstOfTwo)
{
    // The clocks go from 04:00 back to 03:00 at 01:00 UTC: 03:00 comes at 00:00 and at 01:00 UTC.
    const QTimeZone zone("Europe/Helsinki");
    const auto utc = [](int hour, int minute) {
        return QDateTime(QDate(2026, 10, 25), QTime(hour, minute), Qt::UTC);
    };
    EXPECT_EQ(Updater::quietHour(utc(0, 0).addSecs(-1), zone), utc(0, 0));
    for (const QDateTime &within : {utc(0, 30), utc(1, 0), utc(1, 30), utc(2, 59)})
        EXPECT_EQ(Updater::quietHour(within, zone), within);
}

TEST(QuietHour, AsksForTheZoneItIsGiven)
{
    const QDateTime noon(QDate(2026, 7, 1), QTime(12, 0), Qt::UTC);
    EXPECT_EQ(Updater::quietHour(noon, QTimeZone("Asia/Tokyo")), // 21:00 there
              QDateTime(QDate(2026, 7, 1), QTime(18, 0), Qt::UTC));
}

// The C library's own calendar, which shares nothing with Qt's.
class SystemCalendar
{
public:
    explicit SystemCalendar(const QByteArray &zone)
    {
        qputenv("TZ", zone);
        ::tzset();
    }
    [[nodiscard]] static tm at(time_t instant)
    {
        tm local = {};
        ::localtime_r(&instant, &local);
        return local;
    }
    // When each day's clocks first show 03:00 or later, between these moments. In steps into which
    // every change of clocks fits.
    [[nodiscard]] static std::vector<time_t> quietStarts(time_t from, time_t until)
    {
        constexpr time_t kStep = 15 * 60;
        std::vector<time_t> starts;
        int startedDay = -1;
        for (time_t instant = from - from % kStep; instant < until; instant += kStep) {
            const tm local = at(instant);
            if (local.tm_hour < 3 || local.tm_yday == startedDay)
                continue;
            startedDay = local.tm_yday;
            starts.push_back(instant);
        }
        starts.erase(starts.begin()); // where the walk begins is in the middle of a day
        return starts;
    }
};

TEST(QuietHour, IsRightOnEveryChangeOfClocksInEveryZone)
{
    constexpr time_t kHour = 3600;
    const QDateTime begin(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    const QDateTime end = begin.addYears(5);
    int changes = 0;
    for (const QByteArray &id : QTimeZone::availableTimeZoneIds()) {
        const QTimeZone zone(id);
        const SystemCalendar calendar(id);
        for (const QTimeZone::OffsetData &change : zone.transitions(begin, end)) {
            ++changes;
            const time_t at = change.atUtc.toSecsSinceEpoch();
            const auto starts = SystemCalendar::quietStarts(at - 60 * kHour, at + 60 * kHour);
            std::vector<time_t> moments{at - 1, at};
            for (const time_t start : starts)
                moments.insert(moments.end(), {start - 1, start});
            for (time_t moment = at - 28 * kHour; moment < at + 28 * kHour; moment += kHour / 2 + 1)
                moments.push_back(moment);
            for (const time_t moment : moments) {
                const int hour = SystemCalendar::at(moment).tm_hour;
                const auto next = std::upper_bound(starts.begin(), starts.end(), moment);
                if (next == starts.end())
                    continue;
                const time_t expected = hour == 3 || hour == 4 ? moment : *next;
                const QDateTime after = QDateTime::fromSecsSinceEpoch(moment, Qt::UTC);
                ASSERT_EQ(Updater::quietHour(after, zone).toSecsSinceEpoch(), expected)
                    << id.constData() << " after " << moment;
            }
        }
    }
    EXPECT_GT(changes, 1000);
    std::cout << changes << " changes of clocks" << std::endl;
}

} // namespace
} // namespace corvella
