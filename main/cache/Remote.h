// What the imagery host says of one product.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace corvella::Cache {

struct Remote
{
    QString id;
    QString label;
    QString updated;                // ISO 8601 text, never read as a date
    std::optional<QString> through; // likewise: the last instant that the clip shows
    QStringList videos;             // remote paths, the preferred one first
    QStringList stills;             // likewise

    bool operator==(const Remote &) const = default;
};

} // namespace corvella::Cache
