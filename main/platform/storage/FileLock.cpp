#include "platform/storage/FileLock.h"

#include <QFile>

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>

namespace corvella {

bool lockAlone(int descriptor)
{
    using Clock = std::chrono::steady_clock;
    constexpr timespec kPause{0, 1'000'000}; // flock() has no waiting time of its own
    const Clock::time_point limit = Clock::now() + kLongestLockWait;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || Clock::now() >= limit)
            return false;
        ::nanosleep(&kPause, nullptr);
    }
    return true;
}

std::optional<FileLock> FileLock::acquire(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    FileDescriptor file(::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    // Made by another user (an administrator's shell), it may be open to us for reading only, which
    // locks as well.
    if (!file.isOpen() && errno == EACCES)
        file = FileDescriptor(::open(name.constData(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return std::nullopt;
    if (!lockAlone(file.get()))
        return std::nullopt;
    return FileLock(std::move(file));
}

} // namespace corvella
