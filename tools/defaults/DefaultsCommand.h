// The command line of corvella-defaults, apart from the process that it runs in.
#pragma once

#include "platform/storage/UserDefaults.h"

#include <QStringList>
#include <QTextStream>

namespace corvella {

enum class ExitStatus {
    done = 0,
    failed = 1, // no such key, the change not saved, or the answer not written
    usage = 2,  // not understood, or a value that is none of its type
};

// Carries out one command, given without the program's name. What was asked for goes to `output`,
// every complaint as one line to `errors`.
[[nodiscard]] ExitStatus runDefaultsCommand(const QStringList &arguments, UserDefaults &defaults,
                                            QTextStream &output, QTextStream &errors);

} // namespace corvella
