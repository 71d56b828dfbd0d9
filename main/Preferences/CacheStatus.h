// What the settings window says of the imagery on disk. Pure functions; any thread.
#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QLocale>
#include <QString>

#include <optional>

namespace corvella {

struct CacheSummary
{
    qsizetype products = 0;
    std::optional<QString> newest; // the latest stamp of an entry, as the manifest has it

    bool operator==(const CacheSummary &) const = default;
};

[[nodiscard]] CacheSummary summary(const QList<QJsonObject> &entries);

// `refusedUntil`: a check was refused, and the next is allowed from then on.
[[nodiscard]] QString cacheStatusText(const CacheSummary &summary, bool offline,
                                      const std::optional<QDateTime> &refusedUntil,
                                      const QLocale &locale);

[[nodiscard]] QString downloadingText(int done, int total);

} // namespace corvella
