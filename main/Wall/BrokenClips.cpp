#include "Wall/BrokenClips.h"

#include "log.h"
#include "platform/storage/BoundedFile.h"

#include <QHash>

namespace corvella::BrokenClips {

namespace {

using Table = QHash<QString, FileStamp>;

Table &unplayable()
{
    static Table table;
    return table;
}

Table &brokenOff()
{
    static Table table;
    return table;
}

bool isListed(const Table &table, const QString &path)
{
    const auto found = table.constFind(path);
    return found != table.cend() && *found == stampOf(path);
}

} // namespace

void add(const QString &path, const QString &reason)
{
    if (isListed(unplayable(), path))
        return;
    unplayable().insert(path, stampOf(path));
    log(QStringLiteral("clip does not play, passing it over: %1: %2").arg(path, reason));
}

void noteBrokenOff(const QString &path, const QString &reason)
{
    if (isListed(brokenOff(), path))
        return;
    brokenOff().insert(path, stampOf(path));
    log(QStringLiteral("clip is damaged, playing it as far as it goes: %1: %2").arg(path, reason));
}

bool contains(const QString &path)
{
    return isListed(unplayable(), path);
}

} // namespace corvella::BrokenClips
