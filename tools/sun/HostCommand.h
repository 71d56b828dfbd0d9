#pragma once

#include "Options.h"

namespace corvella::sun {

// `corvella-sun host [options] DIR`: a whole imagery host tree.
ExitStatus runHost(const QStringList &arguments);

} // namespace corvella::sun
