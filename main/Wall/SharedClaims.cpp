#include "Wall/SharedClaims.h"

#include "platform/storage/BoundedFile.h"
#include "platform/storage/StandardFolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

namespace corvella {

namespace {

constexpr qint64 kLargestFileBytes = 4096; // a few ids
constexpr std::chrono::milliseconds kOnce{0};

const QString kSuffix = QStringLiteral(".claims");

} // namespace

std::optional<SharedClaims> SharedClaims::join(const QString &folder)
{
    if (!StandardFolders::make(folder).isOk())
        return std::nullopt;
    const QString file =
        QDir(folder).filePath(QString::number(QCoreApplication::applicationPid()) + kSuffix);
    for (;;) {
        std::optional<FileLock> alive = FileLock::acquire(file);
        if (!alive)
            return std::nullopt;
        // Before it was locked somebody may have taken it for one of the dead.
        if (alive->isStillAt(file))
            return SharedClaims(file, std::move(*alive));
    }
}

void SharedClaims::announce(const QSet<QString> &ids) const
{
    QFile file(m_file);
    if (file.open(QIODevice::WriteOnly))
        file.write(QStringList(ids.values()).join(u'\n').toUtf8());
}

QSet<QString> SharedClaims::ofOthers() const
{
    QSet<QString> held;
    const QFileInfo own(m_file);
    for (const QFileInfo &other : own.dir().entryInfoList({u'*' + kSuffix}, QDir::Files)) {
        if (other == own)
            continue;
        // A lock that can be had is one that nobody holds: its process has ended. A saver's end
        // every few minutes, and months of them are not to be looked through at each clip.
        if (const auto dead = FileLock::acquire(other.filePath(), kOnce)) {
            if (dead->isStillAt(other.filePath()))
                QFile::remove(other.filePath());
            continue;
        }
        const QByteArray ids = readBounded(other.filePath(), kLargestFileBytes).bytes;
        for (const QString &id : QString::fromUtf8(ids).split(u'\n', Qt::SkipEmptyParts))
            held.insert(id);
    }
    return held;
}

} // namespace corvella
