#include "platform/storage/FileLock.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

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

namespace {

// What an administrator's shell locks in a user's folder, that user must be able to lock later.
void giveToOwnerOfFolder(int file, const QString &folder)
{
    struct stat owned = {};
    if (::stat(QFile::encodeName(folder).constData(), &owned) == 0)
        (void)!::fchown(file, owned.st_uid, owned.st_gid);
}

// The file of that name, made where there is none; closed on failure, with errno set.
FileDescriptor openOrMake(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    for (;;) {
        FileDescriptor file(::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (file.isOpen() && ::geteuid() == 0)
            giveToOwnerOfFolder(file.get(), QFileInfo(path).path());
        if (file.isOpen() || errno != EEXIST)
            return file;
        // Another user's may be open to us for reading only, which locks as well.
        for (const int access : {O_RDWR, O_RDONLY}) {
            file = FileDescriptor(::open(name.constData(), access | O_NOFOLLOW | O_CLOEXEC));
            if (file.isOpen() || errno != EACCES)
                break;
        }
        if (file.isOpen() || errno != ENOENT) // else somebody has just removed it
            return file;
    }
}

} // namespace

std::optional<FileLock> FileLock::acquire(const QString &path,
                                          std::chrono::milliseconds longestWait)
{
    FileDescriptor file = openOrMake(path);
    if (!file.isOpen())
        return std::nullopt;
    if (::geteuid() == 0)
        giveToOwnerOfFolder(file.get(), QFileInfo(path).path());
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
