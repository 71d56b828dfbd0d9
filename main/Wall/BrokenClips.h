// Clip files that turned out not to play, for the whole process: they are passed over and named in
// the log once, until another file takes their place. Main thread only.
#pragma once

#include <QString>

namespace corvella::BrokenClips {

// This file, as it is on disk now, does not play. Logs it with the reason unless it is known
// already.
void add(const QString &path, const QString &reason);

// This file ends early but plays as far as it goes. Logged once; it stays playable.
void noteBrokenOff(const QString &path, const QString &reason);

// Whether the file is known not to play and has not been replaced since.
[[nodiscard]] bool contains(const QString &path);

} // namespace corvella::BrokenClips
