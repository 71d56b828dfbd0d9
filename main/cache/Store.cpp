#include "cache/Store.h"

#include "cache/Address.h"
#include "platform/storage/IsoDate.h"
#include "settings/Settings.h"

#include <QUrlQuery>

namespace corvella::Store {

std::optional<QUrl> link(const QJsonObject &entry)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("utm_source"), QStringLiteral("corvella"));
    if (const auto updated = parseIsoDate(entry.value(QLatin1String("updated")).toString())) {
        // QDateTime's own formats know no locale, and parseIsoDate() gives UTC.
        query.addQueryItem(QStringLiteral("d"), updated->toString(QStringLiteral("yyyy-MM-dd")));
        query.addQueryItem(QStringLiteral("t"), updated->toString(QStringLiteral("HH:mm")));
    }
    const QString id = entry.value(QLatin1String("id")).toString();
    bool isWavelength = false;
    (void)id.toLongLong(&isWavelength);
    if (isWavelength && id == id.trimmed())
        query.addQueryItem(QStringLiteral("wl"), id);

    std::optional<QUrl> url = Cache::address(Settings::storeHost(), {});
    if (url)
        url->setQuery(query);
    return url;
}

} // namespace corvella::Store
