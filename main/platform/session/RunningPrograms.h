// The user's other programs that run now. Any thread.
#pragma once

#include <QString>

namespace corvella {

// Tells those to end whose executable lies below a folder that is there, or lay there when they
// were started, also where that one was moved aside since, to a longer name. Returns at once.
void endProgramsFrom(const QString &folder);

} // namespace corvella
