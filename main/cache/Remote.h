// What the imagery host says of its products. Pure functions over bytes from outside; any thread.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvella::Cache {

// One product as it is offered.
struct Remote
{
    QString id;
    QString label;
    QString updated;                     // ISO 8601 text, never read as a date
    std::optional<QString> through = {}; // likewise: the last instant that the clip shows
    QStringList videos = {};             // remote paths, the preferred one first
    QStringList stills = {};             // likewise

    bool operator==(const Remote &) const = default;
};

// The product of one record; none when it lacks an id, a date or a clip. A text longer than any
// honest one counts as missing: labels and dates go into the manifest, which is bounded.
[[nodiscard]] std::optional<Remote> remote(const QJsonObject &record);

// The JSON object that a server sent. Empty when it is none, is nested too deeply, or consists of
// more values than any honest document: parsed, each would take thirty times its bytes.
[[nodiscard]] QJsonObject parseRemoteObject(const QByteArray &bytes);

struct ProductIndex
{
    // In the order of the index, without the records that are of no use. None when there is no
    // index: no object that can be parsed, no list in it.
    std::optional<QList<Remote>> products;
    std::optional<QDateTime> generated; // UTC
};

[[nodiscard]] ProductIndex parseProductIndex(const QByteArray &bytes);

} // namespace corvella::Cache
