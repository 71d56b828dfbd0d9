// Programs that refuse to run as root, or give it up: where root runs the tests they run as an
// ordinary user. For anyone else nothing changes. Main thread only.
#pragma once

#include "support/ChildProcess.h"

namespace corvella::test {

// The command, run by the ordinary user.
[[nodiscard]] Command asOrdinaryUser(const Command &command);

// Lets that user have a folder and all that is in it; root keeps access to it anyway.
void handOverToOrdinaryUser(const QString &folder);

} // namespace corvella::test
