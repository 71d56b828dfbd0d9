// The files that ship with the program, found beside it: `../share/corvella` and `../lib/corvella`
// from the executable's own folder, so that a build tree, a package under /usr and an unpacked
// bundle all work where they lie. Any thread.
#pragma once

#include <QString>

#include <optional>

namespace corvella {

// The real path of the running executable, links resolved. Stays right when an update has replaced
// or removed the file meanwhile.
[[nodiscard]] QString executablePath();

// The path of a shipped file or folder, none when it is not there.
[[nodiscard]] std::optional<QString> resourcePath(const QString &name);

// Where a shared library lies that the program loads by itself, there or not.
[[nodiscard]] QString modulePath(const QString &name);

} // namespace corvella
