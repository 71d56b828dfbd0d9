// The one logging function. Every part of the program, the platform included, stands on it.
#pragma once

#include <QString>

#include <string_view>

namespace corvella {

// Writes "corvella: MESSAGE\n" to standard error in one piece and MESSAGE to the system journal
// (identifier "corvella", subsystem "space.tarrow.corvella", category "app").
// Any thread; never fails, and never waits: where there is no journal, standard error is all, and
// what either of them does not take at once is lost.
void log(const QString &message);

// For signal handlers: writes such a line, given whole, "corvella: MESSAGE\n", to standard error
// alone.
void logFromSignal(std::string_view line);

// A terminal may say that it takes more and then keep a writer waiting in the midst of a line. From
// now on what is written to a terminal or a pipe, also by libraries and by what the program starts,
// is lost instead. Where that may not be opened anew, as another user's, all stays as it is. Before
// other threads.
void neverWaitForStandardError();

} // namespace corvella
