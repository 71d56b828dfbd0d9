#include "support/JournalSocket.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/socket.h>
#include <sys/un.h>
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
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(m_folder.filePath(QStringLiteral("socket")));
    EXPECT_LT(static_cast<size_t>(path.size()), sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    EXPECT_EQ(::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
}

JournalSocket::~JournalSocket()
{
    ::close(m_socket);
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
