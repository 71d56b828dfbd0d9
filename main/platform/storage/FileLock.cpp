#include "platform/storage/FileLock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace corvella {

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
    while (::flock(file.get(), LOCK_EX) != 0) {
        if (errno != EINTR)
            return std::nullopt;
    }
    return FileLock(std::move(file));
}

} // namespace corvella
