// Manifests of any content: every clip and still that the cache offers for showing is a file in its
// own folder, and the dates and labels beside it are taken as they come.
#include "cache/CacheFolder.h"
#include "cache/Manifest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdlib>

namespace {

using namespace corvella;

// A cache folder with files of its own, and with one beside it that is none of its business.
struct Caches
{
    Caches()
    {
        QDir(all.path()).mkdir(QStringLiteral("cache"));
        for (const QString &name :
             {QStringLiteral("outside.mp4"), QStringLiteral("cache/171.mp4"),
              QStringLiteral("cache/171.png"), QStringLiteral("cache/seed.mp4")}) {
            if (!QFile(all.filePath(name)).open(QIODevice::WriteOnly))
                std::abort();
        }
    }

    QTemporaryDir all;
    const CacheFolder folder{all.filePath(QStringLiteral("cache"))};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const Caches caches;
    const QString path = caches.folder.path();
    QFile manifest(caches.folder.manifestFile());
    if (!manifest.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    manifest.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
    manifest.close();
    const QList<QJsonObject> entries = caches.folder.entries();
    for (const QJsonObject &entry : entries) {
        for (const char *key : {"video", "still"}) {
            const QJsonValue name = entry.value(QLatin1String(key));
            if (name.isString()
                && QFileInfo(path + u'/' + name.toString()).canonicalPath()
                    != QFileInfo(path).canonicalFilePath())
                std::abort();
        }
    }
    if (parseManifest(serializeManifest(entries)) != entries)
        std::abort();
    return 0;
}
