// Where the imagery cache lies, and how a cache from an older place gets there.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace corvella {

struct CacheLocation
{
    QString base;           // the caches folder
    QString folder;         // the cache itself, inside it
    QStringList oldFolders; // where it used to be, the place to look first in front

    bool operator==(const CacheLocation &) const = default;
};

// By the user's standard folders, or under `cacheHome` where that is set to a path. Touches no
// disk.
[[nodiscard]] CacheLocation cacheLocation(const std::optional<QString> &cacheHome);

// Makes sure that the cache folder is there, moving an old one with a manifest into its place if
// there is none yet. Logs a move and a failed move; a folder that cannot be made shows itself
// later, when it holds nothing.
void settleCache(const CacheLocation &location);

} // namespace corvella
