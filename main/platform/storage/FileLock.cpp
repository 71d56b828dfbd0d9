#include "platform/storage/FileLock.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace corvella {

bool lockAlone(int descriptor, std::chrono::milliseconds longestWait)
{
    using Clock = std::chrono::steady_clock;
    // flock() has no waiting time of its own. A short wait ends at once, a long one costs little.
    constexpr std::chrono::milliseconds kShortestPause{1};
    constexpr std::chrono::milliseconds kLongestPause{50};
    const Clock::time_point limit = Clock::now() + longestWait;
    std::chrono::milliseconds pause = kShortestPause;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || Clock::now() >= limit)
            return false;
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, kLongestPause);
    }
    return true;
}

std::optional<FileLock> FileLock::acquire(const QString &path,
                                          std::chrono::milliseconds longestWait)
{
    const QByteArray name = QFile::encodeName(path);
    FileDescriptor file(::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    // Made by another user (an administrator's shell), it may be open to us for reading only, which
    // locks as well.
    if (!file.isOpen() && errno == EACCES) {
        file = FileDescriptor(::open(name.constData(), O_RDONLY | O_CLOEXEC));
        if (!file.isOpen())
            errno = EACCES; // it need not be there at all
    }
    if (!file.isOpen())
        return std::nullopt;
    if (!lockAlone(file.get(), longestWait))
        return std::nullopt;
    return FileLock(std::move(file));
}

} // namespace corvella
