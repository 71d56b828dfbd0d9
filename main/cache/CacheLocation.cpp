#include "cache/CacheLocation.h"

#include "cache/CacheFolder.h"
#include "log.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/FolderMove.h"
#include "platform/storage/StandardFolders.h"

#include <QDir>

namespace corvella {

namespace {

void moveOldCache(const QString &oldFolder, const CacheLocation &location)
{
    // A failure shows itself in the move.
    (void)StandardFolders::make(location.base);
    const FileResult result = moveFolder(oldFolder, location.folder);
    if (result.isOk())
        log(QStringLiteral("cache moved to ") + location.folder);
    else
        log(QStringLiteral("could not move the old cache (%1); starting fresh").arg(result.reason));
}

} // namespace

CacheLocation cacheLocation(const std::optional<QString> &cacheHome)
{
    const bool hasHome = cacheHome && !cacheHome->isEmpty();
    const QString home = hasHome ? QDir::cleanPath(QDir(*cacheHome).absolutePath()) : QString();
    const QString base =
        hasHome ? home + QStringLiteral("/Library/Caches") : StandardFolders::caches();
    const QString support = hasHome ? home + QStringLiteral("/Library/Application Support")
                                    : StandardFolders::applicationSupport();
    return {.base = base,
            .folder = base + QStringLiteral("/Corvella"),
            .oldFolders = {support + QStringLiteral("/Corvella"),
                           support + QStringLiteral("/Corvella Wall")}};
}

void settleCache(const CacheLocation &location)
{
    for (const QString &oldFolder : location.oldFolders) {
        if (isMissing(location.folder) && CacheFolder(oldFolder).isPrimed())
            moveOldCache(oldFolder, location);
    }
    (void)StandardFolders::make(location.folder);
}

} // namespace corvella
