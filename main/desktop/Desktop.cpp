#include "desktop/Desktop.h"

#include "desktop/DesktopUpdater.h"
#include "log.h"

namespace corvella::Desktop {

namespace {

DesktopUpdater *theUpdater = nullptr;

} // namespace

void remember()
{
    if (theUpdater)
        theUpdater->remember();
}

void apply()
{
    if (theUpdater)
        theUpdater->apply();
}

void followScreens()
{
    if (theUpdater)
        theUpdater->followScreens();
}

void restore()
{
    if (theUpdater)
        theUpdater->restore();
}

void finish(std::chrono::milliseconds within)
{
    if (!theUpdater)
        return;
    theUpdater->hurry();
    if (!theUpdater->finish(within))
        log(QStringLiteral("desktop: not through yet; the program's end waits"));
}

void setUpdater(DesktopUpdater *updater)
{
    theUpdater = updater;
}

} // namespace corvella::Desktop
