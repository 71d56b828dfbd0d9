// What the entries of the program's menus do. App gives them; each may be called at any time.
#pragma once

#include <functional>

namespace corvella {

struct MenuActions
{
    std::function<void()> start;
    std::function<void()> updateDesktop;
    std::function<void()> showPreferences;
    std::function<void()> checkForUpdates;
    std::function<void()> showAbout;
    std::function<void()> showHelp;
    std::function<void()> quit;
};

} // namespace corvella
