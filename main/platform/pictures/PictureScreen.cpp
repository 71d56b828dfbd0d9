#include "platform/pictures/PictureScreen.h"

#include <QScreen>
#include <qpa/qplatformscreen.h>

namespace corvella {

QList<PictureScreen> pictureScreens(const QList<Screen> &screens)
{
    QList<PictureScreen> list;
    for (const Screen &screen : screens) {
        // Qt's own scaling is no concern of the desktop's.
        const QPlatformScreen *const platform = screen.screen->handle();
        list << PictureScreen{screen.screen->name(), platform->geometry(),
                              platform->devicePixelRatio()};
    }
    return list;
}

} // namespace corvella
