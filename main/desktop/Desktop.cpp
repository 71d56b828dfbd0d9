#include "desktop/Desktop.h"

#include "desktop/DesktopUpdater.h"

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

void restore()
{
    if (theUpdater)
        theUpdater->restore();
}

void finish(std::chrono::milliseconds within)
{
    if (theUpdater)
        theUpdater->finish(within);
}

void setUpdater(DesktopUpdater *updater)
{
    theUpdater = updater;
}

} // namespace corvella::Desktop
