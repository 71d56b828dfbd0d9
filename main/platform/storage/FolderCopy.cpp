#include "platform/storage/FolderCopy.h"

#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace corvella {

namespace {

FileResult copyInto(const QString &from, const QString &to)
{
    FileResult result = StandardFolders::make(to);
    QDirIterator all(from, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (result.isOk() && all.hasNext()) {
        all.next();
        const QString target = to + u'/' + QDir(from).relativeFilePath(all.filePath());
        if (!all.fileInfo().isDir()) {
            result = DurableFile::copy(all.filePath(), target);
        } else {
            result = StandardFolders::make(target);
            if (result.isOk())
                result = flushFolder(QFileInfo(target).path());
        }
        if (!result.isOk())
            result.reason.prepend(target + QStringLiteral(": "));
    }
    return result;
}

bool remove(const QString &path)
{
    const QFileInfo there(path);
    if (there.isDir() && !there.isSymLink())
        return QDir(path).removeRecursively();
    return QFile::remove(path) || !QFileInfo::exists(path);
}

// Whichever way it ends, one of the two is at `to`, and what is not is at `arriving`.
FileResult exchange(const QString &arriving, const QString &to)
{
    if (::renameat2(AT_FDCWD, QFile::encodeName(arriving).constData(), AT_FDCWD,
                    QFile::encodeName(to).constData(), RENAME_EXCHANGE)
        == 0)
        return {};
    if (errno == ENOENT)
        return renameTo(arriving, to); // nothing is there
    if (errno != EINVAL)
        return FileResult::lastError();
    // Network file systems know no exchange.
    const QString leaving = to + QStringLiteral(".leaving");
    remove(leaving);
    FileResult result = renameTo(to, leaving);
    if (!result.isOk())
        return result;
    result = renameTo(arriving, to);
    return renameTo(leaving, result.isOk() ? arriving : to).isOk() ? result
                                                                   : FileResult::lastError();
}

} // namespace

FileResult copyFolder(const QString &from, const QString &to)
{
    const QString arriving = to + QStringLiteral(".arriving");
    remove(arriving); // what a crash may have left
    FileResult result = copyInto(from, arriving);
    if (result.isOk())
        result = exchange(arriving, to);
    if (result.isOk())
        result = flushFolder(QFileInfo(to).path());
    remove(arriving); // the old one, or what did not take its place
    return result;
}

} // namespace corvella
