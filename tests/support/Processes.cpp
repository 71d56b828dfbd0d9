#include "support/Processes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace corvella::test {

QByteArray procFile(qint64 process, const QString &name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool hasOpen(qint64 process, const QString &path)
{
    const QString file = QFileInfo(path).canonicalFilePath();
    const QDir open(QStringLiteral("/proc/%1/fd").arg(process));
    const QStringList numbers = open.entryList(QDir::AllEntries | QDir::System);
    return std::any_of(numbers.begin(), numbers.end(), [&](const QString &number) {
        return QFile::symLinkTarget(open.filePath(number)) == file;
    });
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
