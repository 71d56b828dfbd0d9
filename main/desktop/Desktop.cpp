#include "desktop/Desktop.h"

#include "desktop/DesktopUpdater.h"
#include "platform/storage/StandardFolders.h"

namespace corvella::Desktop {

namespace {

DesktopUpdater *theUpdater = nullptr;

} // namespace

QString dir()
{
    QString folder = StandardFolders::applicationSupport() + QStringLiteral("/Corvella/desktop");
    // A failure shows itself when a picture is laid there.
    (void)StandardFolders::make(folder);
    return folder;
}

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
