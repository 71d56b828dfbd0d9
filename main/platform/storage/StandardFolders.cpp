#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <sys/stat.h>

namespace corvella::StandardFolders {

namespace {

QString folderOr(const char *variable, const QString &relativeToHome)
{
    const QString value = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(value) ? QDir::cleanPath(value) : home() + u'/' + relativeToHome;
}

} // namespace

QString home()
{
    return QDir::homePath();
}

QString config()
{
    return folderOr("XDG_CONFIG_HOME", QStringLiteral(".config"));
}

QString caches()
{
    return folderOr("XDG_CACHE_HOME", QStringLiteral(".cache"));
}

QString applicationSupport()
{
    return folderOr("XDG_DATA_HOME", QStringLiteral(".local/share"));
}

QStringList machineConfig()
{
    QStringList folders;
    for (const QString &folder :
         qEnvironmentVariable("XDG_CONFIG_DIRS").split(u':', Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(folder))
            folders << QDir::cleanPath(folder);
    }
    return folders.isEmpty() ? QStringList{QStringLiteral("/etc/xdg")} : folders;
}

FileResult make(const QString &folder)
{
    const QByteArray name = QFile::encodeName(folder);
    int error = ::mkdir(name.constData(), 0700) == 0 ? 0 : errno;
    if (error == ENOENT && !QDir(folder).isRoot()) {
        if (FileResult above = make(QFileInfo(folder).path()); !above.isOk())
            return above;
        error = ::mkdir(name.constData(), 0700) == 0 ? 0 : errno;
    }
    if (error == EEXIST)
        error = QFileInfo(folder).isDir() ? 0 : ENOTDIR;
    return FileResult::fromErrno(error);
}

} // namespace corvella::StandardFolders
