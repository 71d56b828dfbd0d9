#include "cache/CacheFolder.h"

#include "cache/Manifest.h"
#include "log.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"

#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>

namespace corvella {

namespace {

const QString kSeed = QStringLiteral("seed.mp4");

std::optional<QJsonObject> readEntry(const QString &description)
{
    const BoundedRead read = readBounded(description, kLargestManifestBytes);
    const QJsonDocument document = QJsonDocument::fromJson(read.bytes);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

bool namesSeed(const QByteArray &manifest)
{
    const QList<QJsonObject> entries = parseManifest(manifest);
    return std::any_of(entries.begin(), entries.end(), [](const QJsonObject &entry) {
        return entry.value(QStringLiteral("video")) == kSeed;
    });
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
    // A cache that cannot be written still plays what it has.
    const FileResult result = DurableFile::write(manifestFile(), serializeManifest(entries));
    if (!result.isOk())
        log(QStringLiteral("manifest not written (%1); the next refresh tries again")
                .arg(result.reason));
}

void CacheFolder::seedIfEmpty(const std::optional<QString> &clip,
                              const std::optional<QString> &description) const
{
    if (isPrimed()) {
        const BoundedRead manifest = readBounded(manifestFile(), kLargestManifestBytes);
        if (manifest.status != ReadStatus::ok)
            log(QStringLiteral("manifest cannot be read (%1); nothing of it is played")
                    .arg(manifest.reason));
        else if (clip && isMissing(seedFile()) && namesSeed(manifest.bytes))
            copySeed(*clip);
        return;
    }
    const std::optional<QJsonObject> entry = description ? readEntry(*description) : std::nullopt;
    if (!clip || !entry) {
        log(QStringLiteral("no seed in the bundle"));
        return;
    }
    if (isMissing(seedFile()))
        copySeed(*clip);
    write({*entry});
    log(QStringLiteral("cache was empty, seeded with the bundled clip (%1)")
            .arg(entry->value(QStringLiteral("updated")).toString(QStringLiteral("?"))));
}

QString CacheFolder::seedFile() const
{
    return m_path + u'/' + kSeed;
}

void CacheFolder::copySeed(const QString &clip) const
{
    const FileResult result = DurableFile::copy(clip, seedFile());
    if (!result.isOk())
        log(QStringLiteral("could not copy the built-in clip (%1); the next start tries again")
                .arg(result.reason));
}

} // namespace corvella
