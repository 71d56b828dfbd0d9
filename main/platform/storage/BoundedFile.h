// Reads a small file whole, never more of it than the caller can bear, and tells whether there is
// one. Any thread; logs nothing.
#pragma once

#include <QByteArray>
#include <QString>

namespace corvella {

// Tells one state of a file from another: two equal stamps of a path mean the same content, except
// that a file changed twice within the file system's time-stamp granularity may keep its stamp (see
// wasSettledAt).
struct FileStamp
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 sizeBytes = -1;
    qint64 modifiedNs = 0;
    qint64 changedNs = 0;

    bool operator==(const FileStamp &) const = default;

    // Whether any change made after nowNs (nanoseconds since 1970) must give the file another
    // stamp: its last change lies further back than the coarsest clock a file system keeps. A file
    // from the future never is settled.
    [[nodiscard]] bool wasSettledAt(qint64 nowNs) const;
};

enum class ReadStatus {
    ok,
    missing,  // nothing there, or no folder to hold it
    tooLarge, // longer than the limit; nothing was kept of it
    failed,   // there, but it cannot be read: no permission, not a plain file, a broken disk
};

struct BoundedRead
{
    ReadStatus status = ReadStatus::missing;
    QByteArray bytes;
    FileStamp stamp; // of the file as it was opened; meaningful for ok and tooLarge
    QString reason;  // the system's words; empty when ok
};

// Never waits on a pipe or device put in the file's place: only plain files are read.
[[nodiscard]] BoundedRead readBounded(const QString &path, qint64 limitBytes);

// Whether nothing is at path. What merely cannot be looked at just now is not missing: taken for
// lost it would be replaced.
[[nodiscard]] bool isMissing(const QString &path);

// The stamp of the file at path now; one that equals no real file's when there is none.
[[nodiscard]] FileStamp stampOf(const QString &path);
[[nodiscard]] FileStamp stampOf(const char *nativePath);

} // namespace corvella
