#include "platform/storage/FolderMove.h"

#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdio>

namespace corvella {

namespace {

// 0, or the error.
int rename(const QString &from, const QString &to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    return std::rename(source.constData(), target.constData()) == 0 ? 0 : errno;
}

FileResult copyFiles(const QDir &from, const QDir &to, const QStringList &names)
{
    for (const QString &name : names) {
        FileResult result = DurableFile::copy(from.filePath(name), to.filePath(name));
        if (!result.isOk())
            return result;
    }
    return {};
}

FileResult moveBetweenFileSystems(const QString &from, const QString &to)
{
    const QString arriving = to + QStringLiteral(".moving");
    QDir(arriving).removeRecursively(); // what a crash may have left
    const QDir source(from);
    const QStringList names = source.entryList(QDir::Files | QDir::Hidden);

    FileResult result = StandardFolders::make(arriving);
    if (result.isOk())
        result = copyFiles(source, QDir(arriving), names);
    if (result.isOk())
        result = FileResult::fromErrno(rename(arriving, to));
    if (!result.isOk()) {
        QDir(arriving).removeRecursively();
        return result;
    }
    for (const QString &name : names)
        QFile::remove(source.filePath(name));
    QDir().rmdir(from);
    return {};
}

} // namespace

FileResult moveFolder(const QString &from, const QString &to)
{
    const int error = rename(from, to);
    return error == EXDEV ? moveBetweenFileSystems(from, to) : FileResult::fromErrno(error);
}

} // namespace corvella
