// The main menu, at the top of the settings window. Main thread only.
#pragma once

#include "shell/MenuActions.h"

#include <memory>

class QMenuBar;

namespace corvella {

[[nodiscard]] std::unique_ptr<QMenuBar> makeMainMenu(const MenuActions &actions);

} // namespace corvella
