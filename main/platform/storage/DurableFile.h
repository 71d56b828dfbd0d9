// Files that become visible only whole and stay after a power cut: the new content is written
// beside the old one, flushed, renamed over it, and the folder is flushed. Any thread, any process;
// these calls wait for the disk. Nothing is logged here: the caller knows what the file meant to
// somebody.
//
// In every call: a failure leaves the file at `path` as it was. The folder of `path` must exist.
// The new content waits under `path` + ".tmp" until it is whole; writers of one path take turns by
// themselves, also between processes, where the file system knows locks. A symbolic link at `path`
// stays and what it points to is replaced; owner and permission bits stay too. A new file is its
// writer's alone, whatever the umask.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace corvella {

enum class FileStatus {
    ok,
    noSpace, // disk full, quota reached or file-size limit: try again when there is room
    failed,  // everything else; the reason says what
};

struct [[nodiscard]] FileResult
{
    FileStatus status = FileStatus::ok;
    QString reason; // the system's words, for a log line; empty when ok

    [[nodiscard]] bool isOk() const { return status == FileStatus::ok; }
    static FileResult fromErrno(int error); // 0 is ok
    static FileResult lastError();          // of the system call that has just failed
};

// The steps of which the calls below are made, for who puts something else in place whole.

// Writes all of it, however many pieces the system takes it in.
FileResult writeAll(int descriptor, const char *bytes, size_t count);

// Gives a file or a folder another name, on the same file system; what has that name is replaced.
FileResult renameTo(const QString &from, const QString &to);

// Without this a rename in the folder may be forgotten by a power cut. Ok, too, on network file
// systems that cannot flush a folder.
FileResult flushFolder(const QString &folder);

// Whether new content is on the disk before its file takes its place. What is flushed later takes
// its place whole, too, but a power cut soon afterwards may leave it empty, or the old file.
enum class Flush { first, later };

// New content for a file, in pieces. Dropped with the object unless it was committed. One thread at
// a time.
class PendingFile
{
public:
    // Waits for its turn; a failure shows itself in the calls below.
    explicit PendingFile(const QString &path, mode_t mode = 0600); // of a new file
    ~PendingFile();
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;

    // After a failure every call gives that failure again and does nothing. Small pieces are
    // gathered, so a failure may show itself a few calls later.
    FileResult append(const char *bytes, size_t count);
    // Has what was appended on the disk, so that commit() needs no more room and may flush later.
    FileResult settle();
    // Puts what was written in place. Call it once.
    FileResult commit(Flush flush = Flush::first);

private:
    FileResult writeGathered();

    QString m_path; // links resolved
    QByteArray m_temporary;
    FileDescriptor m_file;
    FileResult m_result;          // the first failure
    std::vector<char> m_gathered; // not written yet
};

namespace DurableFile {

// Makes `bytes` the content of `path`.
FileResult write(const QString &path, const QByteArray &bytes, Flush flush = Flush::first);

// Makes `path` a copy of the plain file `source`; a new one has its permission bits.
FileResult copy(const QString &source, const QString &path);

// Removes the temporary files that writers which crashed have left in a folder, and links and pipes
// of such names. Those that somebody is still writing stay.
void removeAbandoned(const QString &folder);

} // namespace DurableFile

} // namespace corvella
