#include "cache/CacheFolder.h"

#include "cache/Manifest.h"
#include "log.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"

#include <QFileInfo>
#include <QJsonDocument>

namespace corvella {

namespace {

std::optional<QJsonObject> readEntry(const QString &description)
{
    const BoundedRead read = readBounded(description, kLargestManifestBytes);
    const QJsonDocument document = QJsonDocument::fromJson(read.bytes);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

} // namespace

CacheFolder::CacheFolder(QString path)
    : m_path(std::move(path))
{
}

QString CacheFolder::manifestFile() const
{
    return m_path + QStringLiteral("/manifest.json");
}

QList<QJsonObject> CacheFolder::entries() const
{
    QList<QJsonObject> usable;
    for (QJsonObject &entry :
         parseManifest(readBounded(manifestFile(), kLargestManifestBytes).bytes)) {
        if (!holds(entry.value(QStringLiteral("video"))))
            continue;
        const QJsonValue still = entry.value(QStringLiteral("still"));
        if (still.isString() && !holds(still))
            entry.remove(QStringLiteral("still"));
        usable << entry;
    }
    return usable;
}

bool CacheFolder::holds(const QJsonValue &name) const
{
    return isPlainFileName(name.toString()) && QFileInfo(m_path + u'/' + name.toString()).isFile();
}

bool CacheFolder::isPrimed() const
{
    return !isMissing(manifestFile());
}

void CacheFolder::write(const QList<QJsonObject> &entries) const
{
    // A cache that cannot be written still plays what it has; the next refresh tries again.
    (void)DurableFile::write(manifestFile(), serializeManifest(entries));
}

void CacheFolder::seedIfEmpty(const std::optional<QString> &clip,
                              const std::optional<QString> &description) const
{
    if (isPrimed())
        return;
    const std::optional<QJsonObject> entry = description ? readEntry(*description) : std::nullopt;
    if (!clip || !entry) {
        log(QStringLiteral("no seed in the bundle"));
        return;
    }
    const QString seed = m_path + QStringLiteral("/seed.mp4");
    if (isMissing(seed))
        (void)DurableFile::copy(*clip, seed);
    write({*entry});
    log(QStringLiteral("cache was empty, seeded with the bundled clip (%1)")
            .arg(entry->value(QStringLiteral("updated")).toString(QStringLiteral("?"))));
}

} // namespace corvella
