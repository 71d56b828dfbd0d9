// Becomes another program. Main thread only, at the very end.
#pragma once

#include <QStringList>

namespace corvella {

// Puts a program in this one's place, under the same process id. It inherits the standard streams
// and the environment, and nothing else that is open. Returns only when it cannot be started, which
// is logged.
void relaunch(const QString &program, const QStringList &arguments);

} // namespace corvella
