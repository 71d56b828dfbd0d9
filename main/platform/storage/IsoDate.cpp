#include "platform/storage/IsoDate.h"

namespace corvella {

std::optional<QDateTime> parseIsoDate(QStringView text)
{
    const QDateTime instant = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    const bool hasZone = instant.timeSpec() == Qt::UTC || instant.timeSpec() == Qt::OffsetFromUTC;
    if (!instant.isValid() || !hasZone)
        return std::nullopt;
    return instant.toUTC();
}

QString isoDateText(const QDateTime &instant)
{
    const QDateTime utc = instant.toUTC();
    return utc.toString(utc.time().msec() == 0 ? Qt::ISODate : Qt::ISODateWithMs);
}

} // namespace corvella
