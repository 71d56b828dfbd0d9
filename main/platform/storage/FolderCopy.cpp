#include "platform/storage/FolderCopy.h"

#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

namespace corvella {

namespace {

FileResult failed(const QString &path, const QString &reason)
{
    return {FileStatus::failed, path + QStringLiteral(": ") + reason};
}

FileResult copyInto(const QString &from, const QString &to)
{
    FileResult result = StandardFolders::make(to);
    QDirIterator all(from, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (result.isOk() && all.hasNext()) {
        all.next();
        const QString target = to + u'/' + QDir(from).relativeFilePath(all.filePath());
        if (all.fileInfo().isDir()) {
            result = StandardFolders::make(target);
            continue;
        }
        QFile source(all.filePath());
        if (!source.copy(target))
            result = failed(target, source.errorString());
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

} // namespace

FileResult copyFolder(const QString &from, const QString &to)
{
    const QString arriving = to + QStringLiteral(".arriving");
    remove(arriving); // what a crash may have left
    FileResult result = copyInto(from, arriving);
    if (result.isOk() && !remove(to))
        result = failed(to, QStringLiteral("cannot be removed"));
    if (result.isOk())
        result = renameTo(arriving, to);
    if (!result.isOk())
        remove(arriving);
    return result;
}

} // namespace corvella
