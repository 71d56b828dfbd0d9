// Which build of the program this is, in words. Any thread.
#pragma once

#include "platform/storage/BuildIdentity.h"

namespace corvella::Build {

// "Version 1.0.0 (1)", with a question mark for each that is not told.
[[nodiscard]] QString textOf(const BuildIdentity &build);

// Of the running program.
[[nodiscard]] QString text();

} // namespace corvella::Build
