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

// A reader of our messages that goes away, a terminal or a launcher, must not take the walls along,
// nor must a file that a limit lets grow no further: from now on such writes fail, and what is
// opened takes the number of no standard stream that the program was started without. A terminal,
// too, may say that it takes more and then keep a writer waiting in the midst of a line: what is
// written to one or to a pipe, also by libraries and by what the program starts, is lost instead,
// where that may be opened anew and is not another user's. The first thing of a program.
void outliveFailedWrites();

} // namespace corvella
