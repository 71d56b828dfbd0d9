#include "platform/storage/FolderCopy.h"

#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

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

} // namespace

FileResult copyFolder(const QString &from, const QString &to)
{
    const QString arriving = to + QStringLiteral(".arriving");
    remove(arriving); // what a crash may have left
    FileResult result = copyInto(from, arriving);
    if (result.isOk() && !remove(to))
        result = {FileStatus::failed, to + QStringLiteral(": cannot be removed")};
    if (result.isOk())
        result = renameTo(arriving, to);
    if (result.isOk())
        result = flushFolder(QFileInfo(to).path());
    if (!result.isOk())
        remove(arriving);
    return result;
}

} // namespace corvella
