// Files that become visible only whole and stay after a power cut: the new content is written
// beside the old one, flushed, renamed over it, and the folder is flushed. Any thread, any process;
// these calls wait for the disk. Nothing is logged here: the caller knows what the file meant to
// somebody.
#pragma once

#include <QByteArray>
#include <QString>

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
};

namespace DurableFile {

// In every call: a failure leaves the file at `path` as it was. The folder of `path` must exist.
// The new content waits under `path` + ".tmp" until it is whole; writers of one path take turns by
// themselves, also between processes. A symbolic link at `path` stays and what it points to is
// replaced; permission bits stay too.

// Makes `bytes` the content of `path`.
FileResult write(const QString &path, const QByteArray &bytes);

// Makes `path` a copy of the plain file `source`.
FileResult copy(const QString &source, const QString &path);

// Moves the whole file `temporary`, which lies in the same file system, to `path` in place of
// whatever file was there. Here a symbolic link at `path` is replaced itself. On failure
// `temporary` is left for the caller.
FileResult replace(const QString &path, const QString &temporary);

} // namespace DurableFile

} // namespace corvella
