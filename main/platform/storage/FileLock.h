// An advisory lock on a file name (flock), held while the object lives. Excludes other processes
// and equally the other threads of this one, since every lock is an open file of its own. Waits as
// long as another holds it.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <QString>

#include <optional>

namespace corvella {

class FileLock
{
public:
    // Makes the file if it is missing and leaves it there for good: removing it would let two
    // holders in. None when it can neither be made nor opened; errno then says why.
    [[nodiscard]] static std::optional<FileLock> acquire(const QString &path);

private:
    explicit FileLock(FileDescriptor file)
        : m_file(std::move(file))
    {
    }

    FileDescriptor m_file;
};

} // namespace corvella
