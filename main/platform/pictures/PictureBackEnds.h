// The desktops that DesktopPictures knows, one file each. The choice among them is made where the
// interface is created.
#pragma once

#include "platform/pictures/DesktopPictures.h"

namespace corvella {

// Keeps the last picture of each screen, and shows it to nobody.
[[nodiscard]] std::unique_ptr<DesktopPictures> createRecordedPictures();

} // namespace corvella
