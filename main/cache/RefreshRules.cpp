#include "cache/RefreshRules.h"

namespace corvella::Cache {

namespace {

bool isVersioned(const QString &path)
{
    return path.startsWith(u"v/");
}

// The last component of a path without its extension: the time stamp of a versioned one.
QString stem(const QString &path)
{
    const QString name = path.mid(path.lastIndexOf(u'/') + 1);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

std::chrono::milliseconds between(const QDateTime &earlier, const QDateTime &later)
{
    return std::chrono::milliseconds(earlier.msecsTo(later));
}

} // namespace

bool isNewer(const QString &path, const std::optional<QString> &old)
{
    if (!old || !isVersioned(path) || !isVersioned(*old))
        return true;
    return stem(path) > stem(*old);
}

bool isDue(const QDateTime &last, std::chrono::milliseconds every, const QDateTime &now)
{
    return between(last, now) >= every;
}

bool isFromAnotherTime(const QDateTime &last, std::chrono::milliseconds every, const QDateTime &now)
{
    return between(now, last) >= every;
}

bool shouldUseOrigin(bool reached, const std::optional<QDateTime> &generated, const QDateTime &now)
{
    if (!reached)
        return true;
    return generated && between(*generated, now) > oldestLivingIndex;
}

} // namespace corvella::Cache
