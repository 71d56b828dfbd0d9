#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/socket.h>
#include <sys/un.h>

namespace corvella::test {

namespace {

void writeFile(const QString &path, const QString &text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
}

} // namespace

// Without the number that its daemon prints with it, which is another one after a crash.
PrivateBus::PrivateBus()
    : m_address(QStringLiteral("unix:path=%1/bus").arg(m_folder.path()))
{
    writeFile(configurationFile(),
              QStringLiteral(R"(<busconfig>
    <type>session</type>
    <listen>unix:path=%1/bus</listen>
    <servicedir>%1</servicedir>
    <policy context="default">
        <allow send_destination="*"/>
        <allow receive_sender="*"/>
        <allow own="*"/>
        <allow user="*"/>
    </policy>
</busconfig>
)")
                  .arg(m_folder.path()));
    startDaemon();
}

void PrivateBus::startDaemon()
{
    m_daemon = std::make_unique<ChildProcess>(
        Command{QStringLiteral("dbus-daemon"),
                {QStringLiteral("--config-file"), configurationFile(), QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--print-address")},
                bareEnvironment(),
                {}});
    EXPECT_TRUE(becomes([this] { return m_daemon->output().endsWith('\n'); }))
        << "no bus: " << m_daemon->errors().toStdString();
}

void PrivateBus::crash()
{
    m_daemon->signal(SIGKILL);
    EXPECT_TRUE(becomes([this] { return !m_daemon->isRunning(); }));
}

void PrivateBus::startAgain()
{
    QFile::remove(socket()); // of the one that crashed
    m_inVain = FileDescriptor();
    startDaemon();
}

void PrivateBus::listenInVain()
{
    QFile::remove(socket());
    m_inVain = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(socket());
    ASSERT_LT(static_cast<size_t>(path.size()), sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    EXPECT_EQ(::bind(m_inVain.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address),
              0);
    EXPECT_EQ(::listen(m_inVain.get(), 8), 0);
}

QString PrivateBus::socket() const
{
    return m_folder.filePath(QStringLiteral("bus"));
}

void PrivateBus::offerToStart(const QString &service) const
{
    writeFile(m_folder.filePath(service + QStringLiteral(".service")),
              QStringLiteral("[D-BUS Service]\nName=%1\nExec=/usr/bin/touch %2\n")
                  .arg(service, startedFile()));
    const QString connection = QStringLiteral("offer-") + service;
    const QDBusConnection bus = QDBusConnection::connectToBus(m_address, connection);
    // A daemon that has just started does not watch its folders yet.
    bus.interface()->call(QStringLiteral("ReloadConfig"));
    EXPECT_TRUE(bus.interface()->activatableServiceNames().value().contains(service));
    QDBusConnection::disconnectFromBus(connection);
}

int PrivateBus::matchRules() const
{
    const QString connection = QStringLiteral("match-rules");
    QDBusConnection bus = QDBusConnection::connectToBus(m_address, connection);
    const QDBusMessage answer = bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Debug.Stats"), QStringLiteral("GetAllMatchRules")));
    EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
    QDBusConnection::disconnectFromBus(connection);
    const auto rules =
        qdbus_cast<QMap<QString, QStringList>>(answer.arguments().value(0).value<QDBusArgument>());
    int count = 0;
    for (const QStringList &ofOne : rules)
        count += static_cast<int>(ofOne.size());
    return count;
}

QString PrivateBus::configurationFile() const
{
    return m_folder.filePath(QStringLiteral("bus.conf"));
}

QString PrivateBus::startedFile() const
{
    return m_folder.filePath(QStringLiteral("started"));
}

bool PrivateBus::wasAskedToStartAny() const
{
    return QFile::exists(startedFile());
}

} // namespace corvella::test
