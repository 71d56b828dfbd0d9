#pragma once

#include "Options.h"

namespace corvella::sun {

// `corvella-sun still [options] OUT.png`: one picture.
ExitStatus runStill(const QStringList &arguments);

} // namespace corvella::sun
