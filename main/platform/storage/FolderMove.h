// Moves a folder of files to another place, also onto another file system. Any thread; logs
// nothing.
#pragma once

#include "platform/storage/DurableFile.h"

namespace corvella {

// Makes `to`, which must not exist, the folder `from`. Within one file system that is one step.
// Between two, the files are copied whole before `to` appears and are deleted after that; folders
// inside `from` stay where they are. On failure `from` is as it was and there is no `to`.
FileResult moveFolder(const QString &from, const QString &to);

} // namespace corvella
