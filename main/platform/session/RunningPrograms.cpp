#include "platform/session/RunningPrograms.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>

namespace corvella {

void endProgramsFrom(const QString &folder)
{
    // As the kernel names files: without links, and by the name to which a folder was moved.
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    if (canonical.isEmpty())
        return;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isProcess = false;
        const pid_t id = name.toInt(&isProcess);
        // Of other users' processes the kernel does not tell.
        if (isProcess
            && QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(id))
                   .startsWith(canonical))
            ::kill(id, SIGTERM);
    }
}

} // namespace corvella
