// The screen saver that ships with the program, for the desktop's own saver to show. Any thread.
#pragma once

#include <QString>

#include <optional>

namespace corvella {

// Where it lies; none where this build has none. Looks at the disk each time.
[[nodiscard]] std::optional<QString> bundledSaver();

} // namespace corvella
