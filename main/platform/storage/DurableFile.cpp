#include "platform/storage/DurableFile.h"

#include "platform/storage/FileLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
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

FileResult FileResult::lastError()
{
    return fromErrno(errno);
}

FileResult writeAll(int descriptor, const char *bytes, size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR)
            return FileResult::lastError();
        if (written > 0) {
            bytes += written;
            count -= size_t(written);
        }
    }
    return {};
}

FileResult renameTo(const QString &from, const QString &to)
{
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        return FileResult::lastError();
    return {};
}

FileResult flushFolder(const QString &folder)
{
    const FileDescriptor descriptor(
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // What cannot flush a folder says so with EINVAL; there is nothing better to do there.
    if (!descriptor.isOpen() || (::fsync(descriptor.get()) != 0 && errno != EINVAL))
        return FileResult::lastError();
    return {};
}

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr size_t kGather = size_t{1} << 20; // bytes to write at once
const QString kTemporarySuffix = QStringLiteral(".tmp");

// No writer leaves its file alone for so long.
constexpr time_t kAbandonedSeconds = 60;

// Opens the temporary file that is there, to be locked; closed on failure, with errno set (ENOENT:
// there is none any more). What was never one, a link or a pipe, and what is not even ours to lock
// while nobody writes it, stands in the way of one and is removed.
FileDescriptor openForLock(const QByteArray &name)
{
    FileDescriptor file;
    struct stat named = {};
    if (::lstat(name.constData(), &named) != 0)
        return file;
    if (S_ISREG(named.st_mode)) {
        // It has the permissions of the file that it was to replace. Read-only locks as well.
        for (const int access : {O_WRONLY, O_RDONLY}) {
            file = FileDescriptor(
                ::open(name.constData(), access | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
            if (file.isOpen() || errno != EACCES)
                return file;
        }
        if (::time(nullptr) - named.st_mtime < kAbandonedSeconds)
            return file;
    }
    if (::unlink(name.constData()) == 0)
        errno = ENOENT;
    return file;
}

// Makes the temporary file for this writer alone; closed on failure, with errno set. One that is
// there is another writer's until it is locked. Then a crash has left it, or somebody else has put
// it there, and it is none to write to: it may have another owner, or another name.
FileDescriptor openAlone(const QByteArray &name, mode_t mode)
{
    for (;;) {
        FileDescriptor file(
            ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        const bool isNew = file.isOpen();
        if (!isNew && errno == EEXIST) {
            file = openForLock(name);
            if (!file.isOpen() && errno == ENOENT)
                continue; // its writer has just put it in place
        }
        if (!file.isOpen() || (!lockAlone(file.get()) && !areLocksUnknown(errno)))
            return FileDescriptor();
        if (!isStillNamed(file.get(), name))
            continue;
        if (isNew)
            return file;
        if (::unlink(name.constData()) != 0)
            return FileDescriptor();
    }
}

void keepPermissions(const QByteArray &from, const FileDescriptor &to)
{
    struct stat before = {};
    if (::stat(from.constData(), &before) != 0)
        return;
    // An administrator's shell may change a user's settings; they stay the user's. A failure leaves
    // the permissions of a new file, with which the writer can read it all the same.
    if (::fchown(to.get(), before.st_uid, before.st_gid) == 0)
        (void)::fchmod(to.get(), before.st_mode & kPermissionBits);
}

// Removes a temporary file that nobody writes any more.
void removeIfAbandoned(const QByteArray &name)
{
    const FileDescriptor file = openForLock(name);
    // Removed under the lock: once that is free, it may be another writer's.
    if (file.isOpen() && lockAlone(file.get(), std::chrono::milliseconds(0))
        && isStillNamed(file.get(), name))
        ::unlink(name.constData());
}

// Where a symbolic link points, also if nothing is there (yet).
QString resolved(const QString &path)
{
    const QFileInfo file(path);
    if (!file.isSymLink())
        return path;
    const QString target = file.canonicalFilePath();
    return target.isEmpty() ? file.symLinkTarget() : target;
}

} // namespace

PendingFile::PendingFile(const QString &path, mode_t mode)
    : m_path(resolved(path))
    , m_temporary(QFile::encodeName(m_path + kTemporarySuffix))
    , m_file(openAlone(m_temporary, mode))
{
    if (m_file.isOpen())
        keepPermissions(QFile::encodeName(m_path), m_file);
    else
        m_result = FileResult::lastError();
}

PendingFile::~PendingFile()
{
    // Renamed into place, the name is gone or the next writer's.
    if (m_file.isOpen() && isStillNamed(m_file.get(), m_temporary))
        ::unlink(m_temporary.constData());
}

FileResult PendingFile::append(const char *bytes, size_t count)
{
    if (!m_result.isOk())
        return m_result;
    m_gathered.insert(m_gathered.end(), bytes, bytes + count);
    return m_gathered.size() < kGather ? m_result : writeGathered();
}

FileResult PendingFile::writeGathered()
{
    if (m_result.isOk())
        m_result = writeAll(m_file.get(), m_gathered.data(), m_gathered.size());
    // On its way to the disk while more is still to come: the flush at the end has less to wait
    // for.
    if (m_gathered.size() >= kGather)
        (void)::sync_file_range(m_file.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
    m_gathered.clear();
    return m_result;
}

FileResult PendingFile::settle()
{
    (void)writeGathered(); // which remembers its failure
    if (m_result.isOk() && ::fsync(m_file.get()) != 0)
        m_result = FileResult::lastError();
    return m_result;
}

FileResult PendingFile::commit(Flush flush)
{
    (void)(flush == Flush::first ? settle() : writeGathered()); // which remember their failure
    if (m_result.isOk())
        m_result = renameTo(QFile::decodeName(m_temporary), m_path);
    if (m_result.isOk() && flush == Flush::first)
        m_result = flushFolder(QFileInfo(m_path).path());
    return m_result;
}

namespace DurableFile {

FileResult write(const QString &path, const QByteArray &bytes, Flush flush)
{
    PendingFile file(path);
    (void)file.append(bytes.constData(), size_t(bytes.size())); // commit() repeats its failure
    return file.commit(flush);
}

FileResult copy(const QString &source, const QString &path)
{
    const FileDescriptor from(
        ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!from.isOpen())
        return FileResult::lastError();
    struct stat original = {};
    if (::fstat(from.get(), &original) != 0)
        return FileResult::lastError();
    PendingFile file(path, original.st_mode & kPermissionBits);
    std::array<char, 1 << 16> buffer;
    for (;;) {
        const ssize_t got = ::read(from.get(), buffer.data(), buffer.size());
        if (got == 0)
            return file.commit();
        if (got < 0 && errno != EINTR)
            return FileResult::lastError();
        if (got > 0) {
            if (FileResult result = file.append(buffer.data(), size_t(got)); !result.isOk())
                return result;
        }
    }
}

void removeAbandoned(const QString &folder)
{
    const QDir dir(folder);
    const QStringList names =
        dir.entryList({u'*' + kTemporarySuffix}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : names)
        removeIfAbandoned(QFile::encodeName(dir.filePath(name)));
}

} // namespace DurableFile

} // namespace corvella
