// What the program and the module that reads clips agree upon.
#pragma once

#include "platform/video/ClipSource.h"

namespace corvella {

// How the module opens a clip; see openClip().
using OpenClip = OpenedClip(const QString &path, const std::atomic_bool &cancelled);

// The module's one function for the program, called once and found by its name. The module writes
// to the log that it is handed, since there is but one.
using ClipModuleEntry = OpenClip *(void (*log)(const QString &message));
inline constexpr const char *kClipModuleEntry = "corvellaClipModule";

} // namespace corvella
