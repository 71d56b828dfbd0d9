// The desktops that DesktopPictures knows, one file each. The choice among them is made where the
// interface is created. Those that compose or keep pictures do so in `folder`.
#pragma once

#include "platform/pictures/DesktopPictures.h"

namespace corvella {

// The settings of a desktop that stands on GSettings, and what they become for a picture.
struct GSettingsDesktop
{
    struct Key
    {
        enum class Meaning { path, url, option, fixed };

        QString schema;
        QString name;
        Meaning meaning = Meaning::fixed;
        QString value; // of a fixed one, as GVariant prints it
    };

    QString name;    // of its states
    QList<Key> keys; // those of the picture itself first
};

[[nodiscard]] GSettingsDesktop gnomeSettings();
[[nodiscard]] GSettingsDesktop cinnamonSettings();
[[nodiscard]] GSettingsDesktop mateSettings();

[[nodiscard]] std::unique_ptr<DesktopPictures>
createDesktopPicturesGSettings(const GSettingsDesktop &desktop, const QString &folder);
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesPlasma();
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesXfce();
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesLxqt(const QString &folder);
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesSway();
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesLayers();
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesX11(const QString &folder);
[[nodiscard]] std::unique_ptr<DesktopPictures> createDesktopPicturesPortal(const QString &folder);

// Keeps the last picture of each screen, and shows it to nobody.
[[nodiscard]] std::unique_ptr<DesktopPictures> createRecordedPictures();

} // namespace corvella
