#include "cache/Cache.h"

#include "cache/CacheLocation.h"
#include "log.h"
#include "platform/storage/Resources.h"
#include "settings/Settings.h"

#include <atomic>

namespace corvella::Cache {

namespace {

std::atomic<bool> isReadOnly = false;

const CacheFolder &folder()
{
    static const CacheFolder folder = [] {
        const CacheLocation location =
            cacheLocation(Settings::d().string(QStringLiteral("cacheHome")));
        settleCache(location);
        return CacheFolder(location.folder);
    }();
    return folder;
}

} // namespace

const QString &dir()
{
    return folder().path();
}

QString manifestFile()
{
    return folder().manifestFile();
}

QList<QJsonObject> entries()
{
    return folder().entries();
}

qsizetype count()
{
    return entries().size();
}

bool isPrimed()
{
    return folder().isPrimed();
}

void write(const QList<QJsonObject> &entries)
{
    folder().write(entries);
}

void seedIfEmpty()
{
    folder().seedIfEmpty(resourcePath(QStringLiteral("seed.mp4")),
                         resourcePath(QStringLiteral("seed.json")));
}

bool readOnly()
{
    return isReadOnly;
}

void setReadOnly(bool readOnly)
{
    isReadOnly = readOnly;
}

void refresh()
{
    if (Settings::offline() || readOnly()) {
        log(QStringLiteral("offline or read-only, not refreshing the cache"));
        return;
    }
    log(QStringLiteral("refresh: downloading is not built in yet; keeping the cache"));
}

} // namespace corvella::Cache
