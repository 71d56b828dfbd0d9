#include "support/FaultServer.h"

#include "support/Loopback.h"

#include <QFile>

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

namespace corvella::test {

struct FaultServer::Connection::Tls
{
    Tls()
        : context(SSL_CTX_new(TLS_server_method()))
    {
    }
    ~Tls()
    {
        SSL_free(session);
        SSL_CTX_free(context);
    }
    Tls(const Tls &) = delete;
    Tls &operator=(const Tls &) = delete;

    SSL_CTX *context;
    SSL *session = nullptr;
};

FaultServer::Connection::Connection(int socket, const ServerIdentity &identity)
    : m_socket(socket)
    , m_identity(identity)
{
}

FaultServer::Connection::~Connection()
{
    if (m_tls && m_tls->session)
        SSL_shutdown(m_tls->session);
}

QByteArray FaultServer::Connection::readRequest()
{
    if (!m_tls) {
        m_tls = std::make_unique<Tls>();
        SSL_CTX_use_certificate_chain_file(m_tls->context,
                                           QFile::encodeName(m_identity.certificate).constData());
        SSL_CTX_use_PrivateKey_file(m_tls->context, QFile::encodeName(m_identity.key).constData(),
                                    SSL_FILETYPE_PEM);
        SSL *session = SSL_new(m_tls->context);
        SSL_set_fd(session, m_socket);
        m_tls->session = session;
        if (SSL_accept(session) != 1)
            return {};
    }
    QByteArray head;
    char byte = 0;
    while (!head.endsWith("\r\n\r\n")) {
        if (SSL_read(m_tls->session, &byte, 1) != 1)
            return {};
        head += byte;
    }
    return head;
}

bool FaultServer::Connection::send(const QByteArray &bytes)
{
    return SSL_write(m_tls->session, bytes.constData(), static_cast<int>(bytes.size())) > 0;
}

void FaultServer::Connection::reset()
{
    SSL_free(std::exchange(m_tls->session, nullptr));
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void FaultServer::Connection::waitForClient()
{
    char bytes[256];
    while (::read(m_socket, bytes, sizeof bytes) > 0) {}
}

void FaultServer::Connection::trickle(std::chrono::milliseconds interval)
{
    pollfd client{.fd = m_socket, .events = POLLRDHUP, .revents = 0};
    while (::poll(&client, 1, static_cast<int>(interval.count())) == 0 && send("x")) {}
}

FaultServer::FaultServer(const ServerIdentity &identity, Script script)
    : m_identity(identity)
    , m_script(std::move(script))
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    std::signal(SIGPIPE, SIG_IGN); // clients leave as they like
    const sockaddr_in address = loopback(0);
    EXPECT_EQ(
        ::bind(m_listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(m_listener.get(), SOMAXCONN), 0);
    m_port = portOf(m_listener.get());
    m_acceptor = std::thread(&FaultServer::accept, this);
}

FaultServer::~FaultServer()
{
    ::shutdown(m_listener.get(), SHUT_RDWR);
    m_acceptor.join();
    {
        const std::lock_guard guard(m_mutex);
        for (const int socket : m_open)
            ::shutdown(socket, SHUT_RDWR);
    }
    for (std::thread &service : m_services)
        service.join();
}

QString FaultServer::host() const
{
    return QStringLiteral("localhost:%1").arg(m_port);
}

void FaultServer::accept()
{
    for (;;) {
        const int socket = ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        ++m_connections;
        const std::lock_guard guard(m_mutex);
        m_open.push_back(socket);
        m_services.emplace_back(&FaultServer::serve, this, socket);
    }
}

void FaultServer::serve(int socket)
{
    {
        Connection connection(socket, m_identity);
        m_script(connection);
    }
    const std::lock_guard guard(m_mutex);
    m_open.erase(std::find(m_open.begin(), m_open.end(), socket));
    ::close(socket);
}

QByteArray okAnswer(const QByteArray &body, const QByteArray &moreHeaders)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n"
        + moreHeaders + "\r\n" + body;
}

} // namespace corvella::test
