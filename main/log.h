// The one logging function. Every part of the program, the platform included, stands on it.
#pragma once

#include <QString>

namespace corvella {

// Writes "corvella: MESSAGE\n" to standard error in one piece and MESSAGE to the system journal
// (identifier "corvella", subsystem "space.tarrow.corvella", category "app").
// Any thread; never fails, and never waits: where there is no journal, standard error is all, and
// what either of them does not take at once is lost.
void log(const QString &message);

} // namespace corvella
