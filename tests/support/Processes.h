// Processes as the kernel tells of them. Main thread only.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace corvella::test {

// A file of /proc/PROCESS; empty where there is none, or no such process.
[[nodiscard]] QByteArray procFile(qint64 process, const QString &name);

// Whether a process has this file open.
[[nodiscard]] bool hasOpen(qint64 process, const QString &path);

// Those that it has started and that have not been waited for.
[[nodiscard]] QList<qint64> childrenOf(qint64 process);

// What a program starts to have clips read: the process that has seen no clip, if it runs, and
// those that read one each.
struct ClipReaderProcesses
{
    QList<qint64> starters;
    QList<qint64> readers;
};
[[nodiscard]] ClipReaderProcesses clipReadersOf(qint64 process);

} // namespace corvella::test
