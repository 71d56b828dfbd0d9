// What the process that reads a clip gives up before it has seen a byte of it, so that a clip that
// gets hold of it has got hold of nothing.
//
// Decoding in software needs memory, the files that it is handed, and its socket: all other system
// calls fail. A decoding device's driver needs more, above all the device's files: there the
// network, other programs, the user's files and writing anywhere but to devices are out of reach.
#pragma once

#include <QString>

#include <optional>

namespace corvella {

enum class ConfinedTo { memory, device };

// For the calling thread and all that it starts from now on; call it before there are others. Why
// it failed, in part or whole, for the log.
[[nodiscard]] std::optional<QString> confine(ConfinedTo what);

} // namespace corvella
