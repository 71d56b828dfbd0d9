// Words with sway over its own socket (sway-ipc(7)). One thread; every call waits, two seconds at
// most. Included by sway's back-end only.
#pragma once

#include "platform/pictures/DesktopPictures.h"
#include "platform/storage/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace corvella {

class SwayConnection
{
public:
    // To the sway that started this session.
    SwayConnection();

    // Where it listens; empty outside of sway.
    [[nodiscard]] static QString address();
    [[nodiscard]] bool isOpen() const { return m_socket.isOpen(); }

    // One answer per command.
    [[nodiscard]] QList<Failure> run(const QStringList &commands);

private:
    [[nodiscard]] bool write(const QByteArray &bytes) const;
    // Empty when they do not come.
    [[nodiscard]] QByteArray read(qsizetype count) const;
    [[nodiscard]] QByteArray answer() const;

    FileDescriptor m_socket;
};

// A file's path as a word of one of its commands. It goes through sway's own reading and then,
// unless marked, through that of a shell, which would carry out what it finds. None for a path that
// cannot be written so.
[[nodiscard]] std::optional<QString> swayWord(const QString &path);

} // namespace corvella
