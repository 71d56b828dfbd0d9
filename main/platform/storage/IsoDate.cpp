#include "platform/storage/IsoDate.h"

#include <QRegularExpression>

namespace corvella {

std::optional<QDateTime> parseIsoDate(QStringView text)
{
    // Qt alone takes much more for a date: no seconds, a space for the T, a comma for the point.
    static const QRegularExpression form(QStringLiteral(
        R"(\A\d{4}-\d\d-\d\dT([01]\d|2[0-3]):\d\d:\d\d(\.\d{1,9})?(Z|[+-]\d\d:\d\d)\z)"));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QDateTime instant = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    // An offset may lead out of the years that have a text.
    const QDateTime utc = instant.toUTC();
    constexpr int kFirstYear = 1;
    constexpr int kLastYear = 9999;
    if (!instant.isValid() || utc.date().year() < kFirstYear || utc.date().year() > kLastYear)
        return std::nullopt;
    return utc;
}

QString isoDateText(const QDateTime &instant)
{
    const QDateTime utc = instant.toUTC();
    return utc.toString(utc.time().msec() == 0 ? Qt::ISODate : Qt::ISODateWithMs);
}

} // namespace corvella
