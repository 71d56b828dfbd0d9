// Adds the screen saver that ships with the program to the user's, and keeps that copy current. Any
// thread; waits for the disk.
#pragma once

#include "Preferences/SaverBundle.h"

namespace corvella {

// The user's copy, there or not.
[[nodiscard]] QString installedSaver();

// The build of a saver by its Contents/Info.plist; 0 where that cannot be told.
[[nodiscard]] int saverBuild(const QString &saver);

// What to tell whoever has just added the saver, by the major version of the operating system.
[[nodiscard]] QString installedNote(int systemMajorVersion);

// Copies the saver, enters it wherever the session's saver hosts look and opens the settings of the
// first of them. What to tell the user then; none where there is no saver to install.
[[nodiscard]] std::optional<QString>
installSaver(const std::optional<QString> &bundled = bundledSaver());

// Replaces a copy of an older build than the program's own, with what runs from it. Never installs
// one where there is none. Tells of it in the log.
void refreshInstalledSaver(const std::optional<QString> &bundled = bundledSaver());

} // namespace corvella
