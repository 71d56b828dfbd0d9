// An advisory lock on a file name (flock), held while the object lives. Excludes other processes
// and equally the other threads of this one, since every lock is an open file of its own. Waits for
// another holder, but not for ever: one that was stopped in the middle must not stop the walls.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

namespace corvella {

// A write takes milliseconds, and a dozen may queue up.
inline constexpr std::chrono::seconds kLongestLockWait{3};

// Locks an open file for this holder alone, trying again for up to longestWait (0: once); false
// with errno set when that fails (EWOULDBLOCK: another holds it).
[[nodiscard]] bool lockAlone(int descriptor,
                             std::chrono::milliseconds longestWait = kLongestLockWait);

// Whether a lock failed with this errno since the file system knows none. Nobody has it there, and
// who needs it goes on without.
[[nodiscard]] bool areLocksUnknown(int error);

// Whether the open file is still the one that has this name: who removes or renames a file while
// others wait for its lock leaves them one that nobody else finds.
[[nodiscard]] bool isStillNamed(int descriptor, const QByteArray &name);

class FileLock
{
public:
    // Makes the file if it is missing and leaves it there for good: removing it would let two
    // holders in who do not ask isStillAt(). None when it can neither be made nor opened or another
    // holds it for longer than longestWait; errno then says why (EWOULDBLOCK: another holds it). On
    // a file system that knows no locks everybody gets one, which excludes nobody.
    [[nodiscard]] static std::optional<FileLock>
    acquire(const QString &path, std::chrono::milliseconds longestWait = kLongestLockWait);

    // False when somebody removed the locked file all the same.
    [[nodiscard]] bool isStillAt(const QString &path) const;
    // Why it excludes nobody, as an errno; 0 where it does.
    [[nodiscard]] int error() const { return m_error; }

private:
    FileLock(FileDescriptor file, int error)
        : m_file(std::move(file))
        , m_error(error)
    {
    }

    FileDescriptor m_file;
    int m_error;
};

} // namespace corvella
