#include "platform/pictures/DesktopPictures.h"

#include "platform/pictures/PictureBackEnds.h"

namespace corvella {

std::unique_ptr<DesktopPictures> DesktopPictures::create(const QString & /*folder*/)
{
    return createRecordedPictures();
}

} // namespace corvella
