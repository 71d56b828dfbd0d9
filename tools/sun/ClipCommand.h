#pragma once

#include "Options.h"

namespace corvella::sun {

// `corvella-sun clip [options] OUT.mp4`: one clip.
ExitStatus runClip(const QStringList &arguments);

} // namespace corvella::sun
