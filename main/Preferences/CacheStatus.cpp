#include "Preferences/CacheStatus.h"

#include "Wall/WallOverlays.h"

namespace corvella {

CacheSummary summary(const QList<QJsonObject> &entries)
{
    CacheSummary summary{entries.size(), {}};
    for (const QJsonObject &entry : entries) {
        const QJsonValue updated = entry.value(QLatin1String("updated"));
        if (updated.isString() && (!summary.newest || *summary.newest < updated.toString()))
            summary.newest = updated.toString();
    }
    return summary;
}

QString cacheStatusText(const CacheSummary &summary, bool offline,
                        const std::optional<QDateTime> &refusedUntil, const QLocale &locale)
{
    if (summary.products == 0)
        return QStringLiteral("Nothing downloaded yet");
    QString text = summary.products == 1 ? QStringLiteral("The built-in clip only")
                                         : QStringLiteral("%1 products").arg(summary.products);
    if (offline)
        return text + QStringLiteral(" on disk. Offline: not updating.");
    if (summary.newest)
        text += QStringLiteral(", current to ") + WallOverlays::pretty(summary.newest);
    if (refusedUntil)
        text += QStringLiteral(". Checked within the hour; the next check can run at ")
            + locale.toString(refusedUntil->toLocalTime().time(), QLocale::ShortFormat) + u'.';
    return text;
}

QString downloadingText(int done, int total)
{
    return QStringLiteral("Downloading %1 of %2…").arg(done).arg(total);
}

} // namespace corvella
