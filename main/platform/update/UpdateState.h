// What a copy of the program remembers of its updates, in a file of its work folder. A damaged file
// counts as none: the next feed that is believed is the first one again.
#pragma once

#include "platform/storage/DurableFile.h"
#include "platform/update/SignedFeed.h"

#include <chrono>

namespace corvella {

struct UpdateState
{
    std::optional<SeenFeed> seen;       // the newest feed that was believed
    std::optional<QDateTime> lastCheck; // that counts, UTC
    int phase = -1;                     // which part of all machines this is, 0 to 6; drawn once

    bool operator==(const UpdateState &) const = default;

    // Reads any bytes.
    [[nodiscard]] static UpdateState parse(const QByteArray &json);
    [[nodiscard]] QByteArray json() const;

    [[nodiscard]] static UpdateState read(const QString &folder);
    FileResult write(const QString &folder) const;
};

inline constexpr std::chrono::hours kBetweenChecks{24};

// Whether it is time for an automatic check. A last one in the future was made with a wrong clock.
[[nodiscard]] bool isCheckDue(const std::optional<QDateTime> &lastCheck, const QDateTime &now);

} // namespace corvella
