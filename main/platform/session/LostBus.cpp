#include "platform/session/LostBus.h"

#include "log.h"
#include "platform/session/UnixAddress.h"
#include "platform/storage/FileDescriptor.h"
#include "platform/storage/StandardFolders.h"

#include <QDBusConnection>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace corvella {

namespace {

constexpr std::chrono::seconds kBetweenLooks{1};

// Whoever listens there lets us in at once, or later if he is busy.
bool isThere(const QString &socketPath)
{
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    UnixAddress address = unixAddressOf(socketPath);
    return socket.isOpen() && ::connect(socket.get(), address.generic(), address.size) == 0;
}

// Where the library finds a bus that no variable tells of.
QString sessionSocket()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return socketPath(address);
    const std::optional<QString> runtime = StandardFolders::runtime();
    return runtime ? *runtime + QStringLiteral("/bus") : QString();
}

QString systemSocket()
{
    const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    return address.isEmpty() ? QStringLiteral("/run/dbus/system_bus_socket") : socketPath(address);
}

} // namespace

QString socketPath(const QString &busAddress)
{
    const QString unixSocket = QStringLiteral("unix:");
    const QString path = QStringLiteral("path=");
    for (const QString &part : busAddress.split(u';')) {
        if (!part.startsWith(unixSocket))
            continue;
        for (const QString &key : part.mid(unixSocket.size()).split(u',')) {
            if (key.startsWith(path))
                return QUrl::fromPercentEncoding(key.mid(path.size()).toUtf8());
        }
    }
    return {};
}

struct LostBus::Bus
{
    QDBusConnection connection;
    QString name;   // for the log
    QString socket; // its path; empty where it is no file, and will not come back there
    bool isMissed = false;
};

LostBus::LostBus()
{
    m_look.setInterval(kBetweenLooks);
    connect(&m_look, &QTimer::timeout, this, &LostBus::look);
    watch({QDBusConnection::sessionBus(), QStringLiteral("session bus"), sessionSocket(), false});
    watch({QDBusConnection::systemBus(), QStringLiteral("system bus"), systemSocket(), false});
}

LostBus::~LostBus() = default;

void LostBus::watch(Bus bus)
{
    if (!bus.connection.isConnected())
        return;
    // The library's own word, which no bus sends.
    bus.connection.connect({}, QStringLiteral("/org/freedesktop/DBus/Local"),
                           QStringLiteral("org.freedesktop.DBus.Local"),
                           QStringLiteral("Disconnected"), this, SLOT(waitForReturn()));
    m_buses.push_back(std::move(bus));
}

void LostBus::waitForReturn()
{
    for (Bus &bus : m_buses) {
        if (!bus.connection.isConnected() && !std::exchange(bus.isMissed, true))
            log(bus.name + QStringLiteral(": gone; waiting for it to come back"));
    }
    m_look.start();
}

void LostBus::look()
{
    const auto isAnswering = [](const Bus &bus) {
        return !bus.isMissed || (!bus.socket.isEmpty() && isThere(bus.socket));
    };
    if (!std::all_of(m_buses.begin(), m_buses.end(), isAnswering))
        return;
    m_look.stop();
    Q_EMIT returned();
}

} // namespace corvella
