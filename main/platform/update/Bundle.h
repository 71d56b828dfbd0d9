// Unpacks a bundle: a gzipped tar of plain files and folders. What else an archive can hold is not
// filtered out but refused: whoever signed it is not trusted with links, devices, set-user-id bits,
// names that lead elsewhere, or more bytes than a build can have. Any thread; logs nothing.
#pragma once

#include "platform/storage/DurableFile.h"

#include <atomic>

namespace corvella {

struct [[nodiscard]] Unpacking
{
    enum class Status {
        ok,
        refused, // it holds what no bundle holds, or is damaged
        noSpace,
        failed, // the disk would not take it
        cancelled,
    };
    Status status = Status::ok;
    QString reason = {}; // for a log line; empty when ok
};

// Unpacks the open file into an empty folder of ours; all of it is on the disk when that worked.
// On failure the folder holds a part. `cancelled` is looked at between the pieces.
[[nodiscard]] Unpacking unpackBundle(const FileDescriptor &bundle, const QString &folder,
                                     const std::atomic_bool &cancelled);

} // namespace corvella
