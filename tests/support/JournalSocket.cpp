#include "support/JournalSocket.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace corvella::test {

namespace {

constexpr qsizetype kLongestMessage = 64 * 1024;

JournalSocket::Fields fieldsOf(const QByteArray &message)
{
    JournalSocket::Fields fields;
    for (const QByteArray &line : message.split('\n')) {
        if (const qsizetype equals = line.indexOf('='); equals > 0)
            fields.insert(line.left(equals), line.mid(equals + 1));
    }
    return fields;
}

} // namespace

JournalSocket::JournalSocket()
    : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    m_address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(m_folder.filePath(QStringLiteral("socket")));
    EXPECT_LT(static_cast<size_t>(path.size()), sizeof m_address.sun_path);
    std::copy(path.begin(), path.end(), m_address.sun_path);
    EXPECT_EQ(::bind(m_socket, reinterpret_cast<const sockaddr *>(&m_address), sizeof m_address),
              0);
}

JournalSocket::~JournalSocket()
{
    ::close(m_socket);
}

void JournalSocket::hang()
{
    const int sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ssize_t sent = 0;
    do {
        sent = ::sendto(sender, "\n", 1, 0, reinterpret_cast<const sockaddr *>(&m_address),
                        sizeof m_address);
    } while (sent == 1);
    EXPECT_EQ(errno, EAGAIN);
    ::close(sender);
}

std::optional<JournalSocket::Fields> JournalSocket::next()
{
    QByteArray message(kLongestMessage, Qt::Uninitialized);
    const ssize_t bytes = ::recv(m_socket, message.data(), static_cast<size_t>(message.size()), 0);
    if (bytes < 0)
        return std::nullopt;
    message.truncate(bytes);
    return fieldsOf(message);
}

} // namespace corvella::test
