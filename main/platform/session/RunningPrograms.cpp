#include "platform/session/RunningPrograms.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>

namespace corvella {

QList<pid_t> programsFrom(const QString &folder)
{
    QList<pid_t> programs;
    // As the kernel names files: without links.
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    if (canonical.isEmpty())
        return programs;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isProcess = false;
        const pid_t id = name.toInt(&isProcess);
        // Of other users' processes the kernel does not tell.
        if (isProcess
            && QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(id))
                   .startsWith(canonical + u'/'))
            programs << id;
    }
    return programs;
}

void endPrograms(const QList<pid_t> &programs)
{
    for (const pid_t id : programs)
        ::kill(id, SIGTERM);
}

} // namespace corvella
