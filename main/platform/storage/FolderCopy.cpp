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

// Whatever way it ends, what is at `arriving` then is wanted no more.
FileResult takePlace(const QString &arriving, const QString &to)
{
    if (::renameat2(AT_FDCWD, QFile::encodeName(arriving).constData(), AT_FDCWD,
                    QFile::encodeName(to).constData(), RENAME_EXCHANGE)
        == 0)
        return {};
    // Nothing is there, or this file system exchanges no folders, as those of networks and those
    // that lie over others.
    const bool canBeTwoSteps = errno == ENOENT || errno == EINVAL || errno == EXDEV;
    if (!canBeTwoSteps)
        return FileResult::lastError();
    if (!remove(to))
        return {FileStatus::failed, to + QStringLiteral(": cannot be removed")};
    return renameTo(arriving, to);
}

} // namespace

FileResult copyFolder(const QString &from, const QString &to)
{
    const QString arriving = to + QStringLiteral(".arriving");
    remove(arriving); // what a crash may have left
    FileResult result = copyInto(from, arriving);
    if (result.isOk())
        result = takePlace(arriving, to);
    if (result.isOk())
        result = flushFolder(QFileInfo(to).path());
    remove(arriving); // the old one, or what did not take its place
    return result;
}

} // namespace corvella
