// A real web server on loopback, over TLS, that serves a folder. Ends with the object. Main thread
// only.
#pragma once

#include "support/ChildProcess.h"
#include "support/TestAuthority.h"

#include <csignal>
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

    // Goes, and is there again where it was.
    void stop() { m_process.reset(); }
    void startAgain();
    // Takes connections and says nothing, until it goes on.
    void hang() { m_process->signal(SIGSTOP); }
    void goOn() { m_process->signal(SIGCONT); }

    [[nodiscard]] quint16 port() const { return m_port; }
    // "localhost:PORT"
    [[nodiscard]] QString host() const;

    // What it was asked since the last call, in order: "GET /path 200", and " if TAG" after it when
    // the request was conditional.
    QStringList takeRequests();
    // How many connections it accepted so far.
    [[nodiscard]] int connections() const;

private:
    // False where it does not come up.
    [[nodiscard]] bool start();
    [[nodiscard]] bool knock() const;
    [[nodiscard]] QStringList logLines() const;

    QTemporaryDir m_folder;
    quint16 m_port = 0;
    qsizetype m_linesTaken = 0;
    std::unique_ptr<ChildProcess> m_process;
};

} // namespace corvella::test
