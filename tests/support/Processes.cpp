#include "support/Processes.h"

#include <QDir>
#include <QFile>

namespace corvella::test {

QByteArray procFile(qint64 process, const QString &name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<qint64> childrenOf(qint64 process)
{
    QList<qint64> children;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(process));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QByteArray listed = procFile(process, QStringLiteral("task/%1/children").arg(task));
        for (const QByteArray &child : listed.simplified().split(' ')) {
            if (!child.isEmpty())
                children << child.toLongLong();
        }
    }
    return children;
}

ClipReaderProcesses clipReadersOf(qint64 process)
{
    ClipReaderProcesses found;
    for (const qint64 child : childrenOf(process)) {
        if (!procFile(child, QStringLiteral("comm")).startsWith("corvella-clips"))
            continue;
        found.starters << child;
        found.readers << childrenOf(child);
    }
    return found;
}

} // namespace corvella::test
