// Where a user's files belong, as all desktops agree
// (https://specifications.freedesktop.org/basedir-spec/latest/). Read from the environment on every
// call, without looking at the folders, which need not exist. Any thread. All paths are absolute
// and end without a slash.
#pragma once

#include "platform/storage/DurableFile.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace corvella::StandardFolders {

// $HOME, or the password database's answer where it is unset or not absolute.
[[nodiscard]] QString home();

// $XDG_CONFIG_HOME, or ~/.config. A relative value counts as unset, as agreed, here and
// below.
[[nodiscard]] QString config();

// $XDG_CACHE_HOME, or ~/.cache.
[[nodiscard]] QString caches();

// $XDG_DATA_HOME, or ~/.local/share.
[[nodiscard]] QString applicationSupport();

// $XDG_RUNTIME_DIR: the user's alone, for sockets and locks, emptied at logout. None where no
// session made one.
[[nodiscard]] std::optional<QString> runtime();

// The machine-wide folders below config(), the most important first: $XDG_CONFIG_DIRS, or /etc/xdg
// alone.
[[nodiscard]] QStringList machineConfig();

// Makes a folder and those above it that are missing, for the user alone (0700, as
// agreed). A folder that is there already is ok and stays as it is.
FileResult make(const QString &folder);

} // namespace corvella::StandardFolders
