#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvella::StandardFolders {

namespace {

// A service started at boot may have no $HOME.
QString accountHome()
{
    passwd entry = {};
    passwd *found = nullptr;
    std::array<char, 1 << 14> texts; // far more than the few lines of an account's names and paths
    ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found);
    return found ? QFile::decodeName(found->pw_dir) : QDir::rootPath();
}

QString folderOr(const char *variable, const QString &relativeToHome)
{
    const QString value = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(value) ? QDir::cleanPath(value) : home() + u'/' + relativeToHome;
}

} // namespace

QString home()
{
    const QString value = qEnvironmentVariable("HOME");
    return QDir::isAbsolutePath(value) ? QDir::cleanPath(value) : accountHome();
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

std::optional<QString> runtime()
{
    const QString value = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return QDir::isAbsolutePath(value) ? std::optional(QDir::cleanPath(value)) : std::nullopt;
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
