// Which of a feed's updates a machine is offered. A pure function, any thread.
#pragma once

#include "platform/update/Appcast.h"

#include <QStringList>

namespace corvella {

enum class CheckKind {
    automatic,
    byHand, // somebody asks: a roll-out in phases does not keep it from him
};

// A roll-out in phases reaches one of these after the other.
inline constexpr int kPhases = 7;

// What the choice is made by.
struct UpdateFacts
{
    qint64 runningBuild = 0;
    qint64 failedBuild = 0;    // the highest that was put back since it did not start; 0: none
    QString machine;           // "linux-x86_64"
    QVersionNumber system;     // of the C library
    QStringList channels = {}; // beside the one for everybody
    int phase = 0;             // which part of all machines this is, 0 to 6
    QDateTime now;
};

// The highest build that runs here and is higher than what runs and what failed; none when there is
// none. Never one that is older.
[[nodiscard]] std::optional<AppcastItem> chooseUpdate(const QList<AppcastItem> &items,
                                                      const UpdateFacts &facts, CheckKind kind);

} // namespace corvella
