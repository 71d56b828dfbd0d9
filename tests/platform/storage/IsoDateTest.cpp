#include "platform/storage/IsoDate.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

QDateTime utc(int hour, int minute, int second, int milliseconds = 0)
{
    return QDateTime(QDate(2025, 3, 1), QTime(hour, minute, second, milliseconds), Qt::UTC);
}

TEST(IsoDateTest, ReadsInstantsWithAZone)
{
    const struct
    {
        QStringView text;
        QDateTime instant;
    } rows[] = {
        {u"2025-03-01T09:05:00Z", utc(9, 5, 0)},
        {u"2025-03-01T09:05:00.25Z", utc(9, 5, 0, 250)},
        {u"2025-03-01T09:05:07.125Z", utc(9, 5, 7, 125)},
        {u"2025-03-01T09:05:07.125400000Z", utc(9, 5, 7, 125)},
        {u"2025-03-01T10:05:00+01:00", utc(9, 5, 0)},
        {u"2025-03-01T03:35:00-05:30", utc(9, 5, 0)},
    };
    for (const auto &row : rows) {
        const std::optional<QDateTime> instant = parseIsoDate(row.text);
        EXPECT_EQ(instant, row.instant) << row.text.toUtf8().constData();
        EXPECT_EQ(instant.value_or(QDateTime()).timeSpec(), Qt::UTC);
    }
}

TEST(IsoDateTest, ReadsNothingElse)
{
    const QStringView texts[] = {
        u"",
        u"yesterday",
        u"2025-03-01",
        u"2025-03-01T09:05:00",
        u"2025-13-01T09:05:00Z",
        u"2025-02-29T09:05:00Z",
        u"2025-03-01T25:05:00Z",
        u"2025-03-01T09:05:00Zulu",
        u"09:05:00Z",
        u"1740819900",
        u"2025-03-01T09:05:00+99:99",
        u"2025-03-01T09:05Z",
        u"2025-03-01 09:05:00Z",
        u"2025-03-01t09:05:00z",
        u"2025-03-01T09:05:00,5Z",
        u"2025-03-01T09:05:00+0100",
        u"2025-03-01T24:00:00Z",
        u" 2025-03-01T09:05:00Z",
        u"2025-03-01T09:05:00Z\n",
        u"20250301T090500Z",
        u"12025-03-01T09:05:00Z",
        u"0000-12-31T23:59:59Z",
        // Of the years before the first and after the last.
        u"0001-01-01T00:00:00+00:01",
        u"9999-12-31T23:59:59-00:01",
    };
    for (const QStringView text : texts)
        EXPECT_FALSE(parseIsoDate(text)) << text.toUtf8().constData();
}

TEST(IsoDateTest, WritesUtcWithDecimalsOnlyWhereNeeded)
{
    EXPECT_EQ(isoDateText(utc(9, 5, 0)), QStringLiteral("2025-03-01T09:05:00Z"));
    EXPECT_EQ(isoDateText(utc(9, 5, 0, 250)), QStringLiteral("2025-03-01T09:05:00.250Z"));
    EXPECT_EQ(isoDateText(utc(9, 5, 0).toOffsetFromUtc(3600)),
              QStringLiteral("2025-03-01T09:05:00Z"));
    EXPECT_EQ(isoDateText(QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC)),
              QStringLiteral("0001-01-01T00:00:00Z"));
}

} // namespace
} // namespace corvella
