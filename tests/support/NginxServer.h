// A real web server on loopback, over TLS, that serves a folder. Ends with the object. Main thread
// only.
#pragma once

#include "support/ChildProcess.h"
#include "support/TestAuthority.h"

#include <memory>

namespace corvella::test {

class NginxServer
{
public:
    // `locations` is more of nginx's own configuration, inside the server's block. Is ready to
    // answer when made; fails the test when it cannot be started.
    NginxServer(const ServerIdentity &identity, const QString &servedFolder,
                const QString &locations = {});
    ~NginxServer();

    [[nodiscard]] quint16 port() const { return m_port; }
    // "localhost:PORT"
    [[nodiscard]] QString host() const;

    // What it was asked since the last call, in order: "GET /path 200", and " if TAG" after it when
    // the request was conditional.
    QStringList takeRequests();
    // How many connections it accepted so far.
    [[nodiscard]] int connections() const;

private:
    [[nodiscard]] bool knock() const;
    [[nodiscard]] QStringList logLines() const;

    QTemporaryDir m_folder;
    quint16 m_port = 0;
    qsizetype m_linesTaken = 0;
    std::unique_ptr<ChildProcess> m_process;
};

} // namespace corvella::test
