#include "platform/storage/FileLock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace corvella {

bool lockAlone(int descriptor, std::chrono::milliseconds longestWait)
{
    using Clock = std::chrono::steady_clock;
    // flock() has no waiting time of its own. Who looks seldom starves among writers that come back
    // at once, so the pauses stay short however long the wait.
    constexpr std::chrono::microseconds kPause{250};
    const Clock::time_point limit = Clock::now() + longestWait;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || Clock::now() >= limit)
            return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

bool areLocksUnknown(int error)
{
    return error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP;
}

bool isStillNamed(int descriptor, const QByteArray &name)
{
    struct stat opened = {};
    struct stat named = {};
    return ::fstat(descriptor, &opened) == 0 && ::lstat(name.constData(), &named) == 0
        && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

std::optional<FileLock> FileLock::acquire(const QString &path,
                                          std::chrono::milliseconds longestWait)
{
    const QByteArray name = QFile::encodeName(path);
    FileDescriptor file(::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    // Made by another user (an administrator's shell), it may be open to us for reading only, which
    // locks as well.
    if (!file.isOpen() && errno == EACCES) {
        file = FileDescriptor(::open(name.constData(), O_RDONLY | O_CLOEXEC));
        if (!file.isOpen())
            errno = EACCES; // it need not be there at all
    }
    if (!file.isOpen())
        return std::nullopt;
    if (lockAlone(file.get(), longestWait))
        return FileLock(std::move(file), 0);
    if (!areLocksUnknown(errno))
        return std::nullopt;
    return FileLock(std::move(file), errno);
}

bool FileLock::isStillAt(const QString &path) const
{
    return isStillNamed(m_file.get(), QFile::encodeName(path));
}

} // namespace corvella
