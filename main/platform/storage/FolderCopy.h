// Copies a folder with all that is in it. Any thread; logs nothing.
#pragma once

#include "platform/storage/DurableFile.h"

namespace corvella {

// Makes `to` a copy of the folder `from`, files with their permissions, in place of whatever is
// there. The copy is made and flushed beside it, and takes its place in one step where the file
// system has such a one, else in two: a failure before leaves `to` as it was. What runs from there
// runs on, from files that were moved to a name that begins with `to` and are gone. The folder that
// holds `to` must exist.
FileResult copyFolder(const QString &from, const QString &to);

} // namespace corvella
