#include "platform/session/MessageBus.h"

#include "platform/storage/StandardFolders.h"

#include <QUrl>

#include <array>
#include <cerrno>
#include <string_view>
#include <unistd.h>

namespace corvella {

namespace {

// Where the library finds a bus that no variable tells of.
UnixAddress sessionSocket()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return socketOf(address);
    const std::optional<QString> runtime = StandardFolders::runtime();
    return unixAddressOf(runtime ? *runtime + QStringLiteral("/bus") : QString());
}

UnixAddress systemSocket()
{
    const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    return address.isEmpty() ? unixAddressOf(QStringLiteral("/run/dbus/system_bus_socket"))
                             : socketOf(address);
}

} // namespace

std::vector<BusPlace> busPlaces()
{
    return {{QStringLiteral("session bus"), "DBUS_SESSION_BUS_ADDRESS", sessionSocket()},
            {QStringLiteral("system bus"), "DBUS_SYSTEM_BUS_ADDRESS", systemSocket()}};
}

UnixAddress socketOf(const QString &busAddress)
{
    const QString unixSocket = QStringLiteral("unix:");
    const QString path = QStringLiteral("path=");
    const QString abstract = QStringLiteral("abstract=");
    const auto valueOf = [](const QString &key, const QString &name) {
        return QUrl::fromPercentEncoding(key.mid(name.size()).toUtf8());
    };
    for (const QString &part : busAddress.split(u';')) {
        if (!part.startsWith(unixSocket))
            continue;
        for (const QString &key : part.mid(unixSocket.size()).split(u',')) {
            if (key.startsWith(path))
                return unixAddressOf(valueOf(key, path));
            if (key.startsWith(abstract))
                return abstractAddressOf(valueOf(key, abstract));
        }
    }
    return {};
}

BusGreeting::BusGreeting(UnixAddress bus)
    : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    if (!m_socket.isOpen())
        return;
    if (::connect(m_socket.get(), bus.generic(), bus.size) != 0) {
        m_state = errno == EAGAIN ? State::noRoom : State::failed;
        return;
    }
    const QByteArray user = QByteArray::number(::getuid()).toHex();
    const QByteArray words = QByteArray(1, '\0') + "AUTH EXTERNAL " + user + "\r\n";
    const auto size = static_cast<size_t>(words.size());
    if (::send(m_socket.get(), words.constData(), size, MSG_NOSIGNAL) == words.size())
        m_state = State::sent;
}

bool BusGreeting::isWelcome() const
{
    constexpr std::string_view kWelcome = "OK ";
    std::array<char, kWelcome.size()> answer{};
    return ::recv(m_socket.get(), answer.data(), answer.size(), 0) == ssize_t(answer.size())
        && std::string_view(answer.data(), answer.size()) == kWelcome;
}

} // namespace corvella
