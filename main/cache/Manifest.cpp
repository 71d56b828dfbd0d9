#include "cache/Manifest.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace corvella {

QList<QJsonObject> parseManifest(const QByteArray &bytes)
{
    QList<QJsonObject> entries;
    const QJsonArray array = QJsonDocument::fromJson(bytes).array();
    for (const auto &entry : array) {
        if (!entry.isObject())
            return {};
        entries << entry.toObject();
    }
    return entries;
}

QByteArray serializeManifest(const QList<QJsonObject> &entries)
{
    QJsonArray array;
    for (const QJsonObject &entry : entries)
        array << entry;
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

bool isPlainFileName(const QString &name)
{
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(u'/')
        && !name.contains(QChar::Null);
}

} // namespace corvella
