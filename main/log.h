// The one logging function. Every part of the program, the platform included, stands on it.
#pragma once

#include <QString>

namespace corvella {

// Writes "corvella: MESSAGE\n" to standard error in one piece and MESSAGE to the system journal
// (identifier "corvella", subsystem "space.tarrow.corvella", category "app").
// Any thread; never fails: where there is no journal, standard error is all.
void log(const QString &message);

} // namespace corvella
