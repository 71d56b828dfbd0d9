#include "desktop/DesktopFolder.h"

#include "platform/storage/StandardFolders.h"

namespace corvella::Desktop {

QString dir()
{
    QString folder = StandardFolders::applicationSupport() + QStringLiteral("/Corvella/desktop");
    // A failure shows itself when a picture is laid there.
    (void)StandardFolders::make(folder);
    return folder;
}

} // namespace corvella::Desktop
