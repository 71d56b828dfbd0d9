// The user's other programs that run now. Any thread; returns at once.
#pragma once

#include <QList>
#include <QString>

#include <sys/types.h>

namespace corvella {

// Those whose executable lies below a folder that is there, or lay there when they were started.
[[nodiscard]] QList<pid_t> programsFrom(const QString &folder);

// Tells them to end.
void endPrograms(const QList<pid_t> &programs);

} // namespace corvella
