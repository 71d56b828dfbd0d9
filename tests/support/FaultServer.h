// A TLS server on loopback for what an honest web server will not do: break off, fall silent, send
// nonsense. Each connection is served on a thread of its own by a script. Ends with the object.
#pragma once

#include "platform/storage/FileDescriptor.h"
#include "support/TestAuthority.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corvella::test {

class FaultServer
{
public:
    class Connection
    {
    public:
        // The next request's head, up to its empty line; empty when the client is gone or speaks no
        // TLS. The first call does the handshake.
        QByteArray readRequest();
        // False when the client is gone.
        bool send(const QByteArray &bytes);
        // Breaks the connection hard, as a router that was restarted does.
        void reset();
        // Says nothing until the client leaves.
        void waitForClient();
        // Sends a byte at each interval until the client leaves.
        void trickle(std::chrono::milliseconds interval);

    private:
        friend class FaultServer;
        struct Tls;
        Connection(int socket, const ServerIdentity &identity);
        ~Connection();

        int m_socket;
        const ServerIdentity &m_identity;
        std::unique_ptr<Tls> m_tls;
    };

    // Runs on the connection's thread; the connection is closed in order when it returns.
    using Script = std::function<void(Connection &)>;

    FaultServer(const ServerIdentity &identity, Script script);
    ~FaultServer();

    [[nodiscard]] quint16 port() const { return m_port; }
    // "localhost:PORT"
    [[nodiscard]] QString host() const;
    [[nodiscard]] int connections() const { return m_connections; }

private:
    void accept();
    void serve(int socket);

    const ServerIdentity m_identity;
    const Script m_script;
    FileDescriptor m_listener;
    quint16 m_port = 0;
    std::atomic_int m_connections = 0;
    std::mutex m_mutex;
    std::vector<int> m_open;             // sockets; guarded by m_mutex
    std::vector<std::thread> m_services; // only touched by the accepting thread until it ended
    std::thread m_acceptor;
};

// An answer with status 200 and this body, announced in full.
[[nodiscard]] QByteArray okAnswer(const QByteArray &body, const QByteArray &moreHeaders = {});

} // namespace corvella::test
