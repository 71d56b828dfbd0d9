#include "platform/storage/Resources.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <climits>
#include <unistd.h>

namespace corvella {

namespace {

QString readExecutablePath()
{
    std::array<char, PATH_MAX> buffer;
    ssize_t length = -1;
    // Asked once for the whole run: what fails for once must not be the answer.
    for (int tries = 2; length < 0 && tries > 0; --tries)
        length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    QString path = QFile::decodeName(QByteArray(buffer.data(), std::max<ssize_t>(length, 0)));
    // What the kernel adds when the file has been replaced under a running program.
    const QString removed = QStringLiteral(" (deleted)");
    if (path.endsWith(removed) && !QFileInfo::exists(path))
        return path.chopped(removed.size());
    return path;
}

QString pathBeside(const QString &relative)
{
    return QDir::cleanPath(QFileInfo(executablePath()).dir().filePath(relative));
}

} // namespace

QString executablePath()
{
    static const QString path = readExecutablePath();
    return path;
}

std::optional<QString> resourcePath(const QString &name)
{
    QString path = pathBeside(QStringLiteral("../share/corvella/") + name);
    if (!QFileInfo::exists(path))
        return std::nullopt;
    return path;
}

QString modulePath(const QString &name)
{
    return pathBeside(QStringLiteral("../lib/corvella/") + name);
}

} // namespace corvella
