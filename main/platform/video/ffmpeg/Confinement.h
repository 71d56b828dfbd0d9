// What the process that reads a clip gives up before it has seen a byte of it, so that a clip that
// gets hold of it has got hold of nothing.
//
// Decoding in software needs memory, the files that it is handed, and its socket: all other system
// calls fail. A decoding device's driver needs more, above all the device's files: there the
// network, other programs, the user's files and writing anywhere but to that device are out of
// reach, but for the threads that the driver has started before, which can still open files.
#pragma once

#include <QStringList>

#include <optional>

namespace corvella {

enum class ConfinedTo { memory, device };

// For the calling thread and all that it starts from now on, and, where files are not concerned,
// for those that are there. `devices` are the files and folders of the devices that decode. Why it
// failed, in part or whole, for the log.
[[nodiscard]] std::optional<QString> confine(ConfinedTo what, const QStringList &devices = {});

} // namespace corvella
