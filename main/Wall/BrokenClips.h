// Clip files that turned out not to play, for the whole process: they are named in the log once and
// passed over, until another file takes their place or a while is over. Not every reason lies
// in the file: on a machine that was short of memory for a moment it plays again. Main thread only.
#pragma once

#include "platform/time/MediaClock.h"

#include <QString>

namespace corvella::BrokenClips {

// After a first failure, so that a wall with one clip alone has it back at its next look; and when
// it has failed again.
inline constexpr MediaTime kPassedOverAtFirst = std::chrono::seconds(4);
inline constexpr MediaTime kPassedOverFor = std::chrono::minutes(10);

// This file, as it is on disk now, does not play. Logs it with the reason unless it is known
// already.
void add(const QString &path, const QString &reason, MediaTime now);

// This file ends early but plays as far as it goes. Logged once; it stays playable.
void noteBrokenOff(const QString &path, const QString &reason);

// Whether the file is to be passed over: it did not play a while ago and has not been replaced
// since.
[[nodiscard]] bool contains(const QString &path, MediaTime now);

} // namespace corvella::BrokenClips
