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

HttpSession &session()
{
    static HttpSession session;
    return session;
}

Refresher &refresher()
{
    static Refresher refresher(folder(), session(), QDateTime::currentDateTimeUtc);
    return refresher;
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
    refresher().refresh();
}

std::optional<QDateTime> refreshNow(bool everything, const Refresher::Progress &progress)
{
    return refresher().refreshNow(everything, progress);
}

void pass(bool check, bool everything, bool wait, const Refresher::Progress &progress)
{
    refresher().pass(check, everything, wait, progress);
}

void cancelRefreshing()
{
    session().cancel();
}

} // namespace corvella::Cache
