// What the processes that share a folder show, each in a file of its own there, locked as long as
// the process lives: a screen saver has one process per screen. Main thread only.
#pragma once

#include "platform/storage/FileLock.h"

#include <QSet>
#include <QString>

namespace corvella {

class SharedClaims
{
public:
    // Takes part. None where the folder, which is made if need be, takes no file.
    [[nodiscard]] static std::optional<SharedClaims> join(const QString &folder);

    // What this process shows from now on.
    void announce(const QSet<QString> &ids) const;
    // What the others show that are alive.
    [[nodiscard]] QSet<QString> ofOthers() const;

private:
    SharedClaims(QString file, FileLock alive)
        : m_file(std::move(file))
        , m_alive(std::move(alive))
    {
    }

    QString m_file;
    FileLock m_alive;
};

} // namespace corvella
