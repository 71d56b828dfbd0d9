// The program's own check of the pure decisions on which walls, cache and updater rest.
#pragma once

namespace corvella {

// Runs every case. Prints one line on standard output when all hold; ends the process by a signal,
// with nothing printed, at the first that does not. Reads and writes nothing else.
void runSelfTest();

} // namespace corvella
