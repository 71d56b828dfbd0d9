// Which build of the program this is, in words. Any thread.
#pragma once

#include <QString>

namespace corvella::Build {

// "Version 1.0.0 (1)", with question marks where the program's files do not say.
[[nodiscard]] QString text();

} // namespace corvella::Build
