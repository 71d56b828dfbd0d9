// The receiving end of the system journal, as a test's own socket in a folder of its own
// (https://systemd.io/JOURNAL_NATIVE_PROTOCOL/). Main thread only.
#pragma once

#include <QHash>
#include <QTemporaryDir>

#include <optional>
#include <sys/un.h>

namespace corvella::test {

class JournalSocket
{
public:
    using Fields =
        QHash<QByteArray, QByteArray>; // by name; those that hold a line break are left out

    // Listens; fails the test when it cannot.
    JournalSocket();
    ~JournalSocket();
    JournalSocket(const JournalSocket &) = delete;
    JournalSocket &operator=(const JournalSocket &) = delete;

    // The folder that holds the socket, under the name that the journal's has.
    [[nodiscard]] QString folder() const { return m_folder.path(); }

    // It takes no more messages from now on.
    void hang();

    // The next message that came; none when there is none yet.
    [[nodiscard]] std::optional<Fields> next();

private:
    QTemporaryDir m_folder;
    int m_socket = -1;
    sockaddr_un m_address{};
};

} // namespace corvella::test
