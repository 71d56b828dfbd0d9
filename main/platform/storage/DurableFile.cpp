#include "platform/storage/DurableFile.h"

#include "platform/storage/FileDescriptor.h"
#include "platform/storage/FileLock.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/stat.h>

namespace corvella {

FileResult FileResult::fromErrno(int error)
{
    if (error == 0)
        return {};
    const bool noSpace = error == ENOSPC || error == EDQUOT || error == EFBIG;
    return {.status = noSpace ? FileStatus::noSpace : FileStatus::failed,
            .reason = qt_error_string(error)};
}

namespace DurableFile {

namespace {

constexpr mode_t kPermissionBits = 07777;

FileResult lastError()
{
    return FileResult::fromErrno(errno);
}

FileResult writeAll(int descriptor, const char *bytes, size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR)
            return lastError();
        if (written > 0) {
            bytes += written;
            count -= size_t(written);
        }
    }
    return {};
}

FileResult copyAll(int from, int to)
{
    std::array<char, 1 << 16> buffer;
    for (;;) {
        const ssize_t got = ::read(from, buffer.data(), buffer.size());
        if (got == 0)
            return {};
        if (got < 0 && errno != EINTR)
            return lastError();
        if (got > 0) {
            if (FileResult result = writeAll(to, buffer.data(), size_t(got)); !result.isOk())
                return result;
        }
    }
}

// Without this the rename itself may be forgotten by a power cut. Some network file systems cannot
// flush a folder and say so with EINVAL; there is nothing better to do there.
FileResult flushFolderOf(const QString &path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    const FileDescriptor descriptor(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen() || (::fsync(descriptor.get()) != 0 && errno != EINVAL))
        return lastError();
    return {};
}

FileResult moveIntoPlace(const QByteArray &temporary, const QString &path)
{
    if (::rename(temporary.constData(), QFile::encodeName(path).constData()) != 0)
        return lastError();
    return flushFolderOf(path);
}

// Whether the open file is still the one that has this name: the writer before us may have renamed
// it away while we waited for its lock.
bool isStillNamed(const FileDescriptor &file, const QByteArray &name)
{
    struct stat opened = {};
    struct stat named = {};
    return ::fstat(file.get(), &opened) == 0 && ::lstat(name.constData(), &named) == 0
        && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// Opens the temporary file for this writer alone, emptied of what a crash may have left in it;
// closed on failure, with errno set. It must not be truncated before it is locked: until then it is
// another writer's.
FileDescriptor openAlone(const QByteArray &name)
{
    for (;;) {
        FileDescriptor file(::open(name.constData(),
                                   O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
        if (!file.isOpen())
            return file;
        if (!lockAlone(file.get()))
            return FileDescriptor();
        if (isStillNamed(file, name))
            return ::ftruncate(file.get(), 0) == 0 ? std::move(file) : FileDescriptor();
    }
}

void keepPermissions(const QByteArray &from, const FileDescriptor &to)
{
    struct stat before = {};
    // A failure leaves the ordinary permissions of a new file, with which it can be read all the
    // same.
    if (::stat(from.constData(), &before) == 0)
        (void)::fchmod(to.get(), before.st_mode & kPermissionBits);
}

using Fill = std::function<FileResult(int descriptor)>;

FileResult replaceWith(const QString &path, const Fill &fill)
{
    const QString linked =
        QFileInfo(path).isSymLink() ? QFileInfo(path).canonicalFilePath() : QString();
    const QString target = linked.isEmpty() ? path : linked;
    const QByteArray temporary = QFile::encodeName(target) + ".tmp";
    const FileDescriptor file = openAlone(temporary);
    if (!file.isOpen())
        return lastError();

    keepPermissions(QFile::encodeName(target), file);
    FileResult result = fill(file.get());
    if (result.isOk() && ::fsync(file.get()) != 0)
        result = lastError();
    if (result.isOk())
        result = moveIntoPlace(temporary, target);
    if (!result.isOk() && isStillNamed(file, temporary))
        ::unlink(temporary.constData());
    return result;
}

} // namespace

FileResult write(const QString &path, const QByteArray &bytes)
{
    return replaceWith(path, [&bytes](int descriptor) {
        return writeAll(descriptor, bytes.constData(), size_t(bytes.size()));
    });
}

FileResult copy(const QString &source, const QString &path)
{
    const FileDescriptor from(
        ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!from.isOpen())
        return lastError();
    return replaceWith(path, [&from](int descriptor) { return copyAll(from.get(), descriptor); });
}

FileResult replace(const QString &path, const QString &temporary)
{
    const QByteArray name = QFile::encodeName(temporary);
    const FileDescriptor file(::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen() || ::fsync(file.get()) != 0)
        return lastError();
    return moveIntoPlace(name, path);
}

} // namespace DurableFile

} // namespace corvella
