// Where the desktop pictures lie that are shown. Any thread.
#pragma once

#include <QString>

namespace corvella::Desktop {

// That folder, made if it is missing; an absolute path without a slash at its end.
[[nodiscard]] QString dir();

} // namespace corvella::Desktop
