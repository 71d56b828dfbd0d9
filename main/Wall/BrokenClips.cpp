#include "Wall/BrokenClips.h"

#include "log.h"
#include "platform/storage/BoundedFile.h"

#include <QHash>

namespace corvella::BrokenClips {

namespace {

struct Entry
{
    FileStamp stamp;
    MediaTime since;
    MediaTime passedOverFor;
};
using Table = QHash<QString, Entry>;

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

// What is known of the file as it is on disk now; null for nothing.
const Entry *find(const Table &table, const QString &path)
{
    const auto found = table.constFind(path);
    return found != table.cend() && found->stamp == stampOf(path) ? &*found : nullptr;
}

// Whether that is new of the file.
bool enter(Table &table, const QString &path, MediaTime now)
{
    const Entry *const known = find(table, path);
    const bool isNew = !known;
    // Where it has played for long since, that it fails says as little as the first time.
    const bool isAgain = known && now - known->since < 2 * kPassedOverFor;
    table.insert(path, {stampOf(path), now, isAgain ? kPassedOverFor : kPassedOverAtFirst});
    return isNew;
}

} // namespace

void add(const QString &path, const QString &reason, MediaTime now)
{
    if (enter(unplayable(), path, now))
        log(QStringLiteral("clip does not play, passing it over: %1: %2").arg(path, reason));
}

void noteBrokenOff(const QString &path, const QString &reason)
{
    if (enter(brokenOff(), path, MediaTime(0)))
        log(QStringLiteral("clip is damaged, playing it as far as it goes: %1: %2")
                .arg(path, reason));
}

bool contains(const QString &path, MediaTime now)
{
    const Entry *const entry = find(unplayable(), path);
    return entry && now - entry->since < entry->passedOverFor;
}

} // namespace corvella::BrokenClips
