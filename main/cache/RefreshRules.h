// The rules by which the cache is refreshed: what counts as newer, when to look, whom to ask. Pure
// functions; "now" is an argument. Any thread.
#pragma once

#include <QDateTime>
#include <QString>

#include <chrono>
#include <optional>

namespace corvella::Cache {

// The least time between two checks that the user asks for.
inline constexpr std::chrono::seconds manualSpacing{3600};

// An index older than this comes from a host that has stopped updating.
inline constexpr std::chrono::seconds oldestLivingIndex{64800};

// Whether the remote path offers something newer than `old`, the path the file on disk came from
// (none: no file). Only versioned paths ("v/.../20260924T204216.mp4") can be compared, by their
// time stamps; a side that is not versioned makes the offer count as newer.
[[nodiscard]] bool isNewer(const QString &path, const std::optional<QString> &old);

// Whether at least `every` has passed.
[[nodiscard]] bool isDue(const QDateTime &last, std::chrono::milliseconds every,
                         const QDateTime &now);

// Whether the last time lies so far ahead that the clock must have been wrong then, and would have
// to be waited for, a year perhaps.
[[nodiscard]] bool isFromAnotherTime(const QDateTime &last, std::chrono::milliseconds every,
                                     const QDateTime &now);

// Whether to go past the imagery host: it was not reached, or the index it gave was generated too
// long ago. An index without a date (`generated` is none) is believed.
[[nodiscard]] bool shouldUseOrigin(bool reached, const std::optional<QDateTime> &generated,
                                   const QDateTime &now);

} // namespace corvella::Cache
