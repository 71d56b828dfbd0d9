#include "platform/storage/BoundedFile.h"

#include "platform/storage/FileDescriptor.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvella {

namespace {

// FAT keeps modification times to two seconds, the coarsest in use; ext4 and the like to a few
// milliseconds.
constexpr qint64 kCoarsestGranularityNs = 2'000'000'000;

qint64 sinceEpochNs(const timespec &time)
{
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileStamp stampFrom(const struct stat &status)
{
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .sizeBytes = status.st_size,
            .modifiedNs = sinceEpochNs(status.st_mtim),
            .changedNs = sinceEpochNs(status.st_ctim)};
}

bool saysMissing(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

BoundedRead failure(int error)
{
    return {.status = saysMissing(error) ? ReadStatus::missing : ReadStatus::failed,
            .bytes = {},
            .stamp = {},
            .reason = qt_error_string(error)};
}

// Reads until the end or one byte past the limit, so that a file that grows meanwhile is noticed
// too.
int readUpTo(int descriptor, qint64 limitBytes, QByteArray &bytes)
{
    constexpr qsizetype kChunkBytes = 1 << 14;
    for (;;) {
        const qsizetype have = bytes.size();
        const qsizetype wanted = std::min(kChunkBytes, qsizetype(limitBytes) + 1 - have);
        bytes.resize(have + wanted);
        const ssize_t got = ::read(descriptor, bytes.data() + have, size_t(wanted));
        const int error = errno;
        bytes.resize(have + std::max<qsizetype>(got, 0));
        if (got < 0 && error != EINTR)
            return error;
        if (got == 0 || bytes.size() > limitBytes)
            return 0;
    }
}

} // namespace

bool FileStamp::wasSettledAt(qint64 nowNs) const
{
    return nowNs - std::max(modifiedNs, changedNs) > kCoarsestGranularityNs;
}

BoundedRead readBounded(const QString &path, qint64 limitBytes)
{
    const FileDescriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        return failure(errno);
    if (S_ISDIR(status.st_mode))
        return failure(EISDIR);
    if (!S_ISREG(status.st_mode))
        return failure(EINVAL);

    BoundedRead result{
        .status = ReadStatus::ok, .bytes = {}, .stamp = stampFrom(status), .reason = {}};
    if (const int error = readUpTo(file.get(), limitBytes, result.bytes))
        return failure(error);
    if (result.bytes.size() > limitBytes) {
        result.status = ReadStatus::tooLarge;
        result.bytes.clear();
        result.reason = qt_error_string(EFBIG);
    }
    return result;
}

bool isMissing(const QString &path)
{
    return ::access(QFile::encodeName(path).constData(), F_OK) != 0 && saysMissing(errno);
}

FileStamp stampOf(const QString &path)
{
    return stampOf(QFile::encodeName(path).constData());
}

FileStamp stampOf(const char *nativePath)
{
    struct stat status = {};
    if (::stat(nativePath, &status) != 0)
        return {};
    return stampFrom(status);
}

} // namespace corvella
