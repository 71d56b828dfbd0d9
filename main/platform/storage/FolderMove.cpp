#include "platform/storage/FolderMove.h"

#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>

namespace corvella {

namespace {

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
        result = renameTo(arriving, to);
    if (result.isOk())
        result = flushFolder(QFileInfo(to).path()); // before what it came from goes
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
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return {};
    return errno == EXDEV ? moveBetweenFileSystems(from, to) : FileResult::lastError();
}

} // namespace corvella
