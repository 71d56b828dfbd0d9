#include "support/ScreenReader.h"

#include "support/PrivateBus.h"
#include "support/Waiting.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>

#include <gtest/gtest.h>

namespace corvella::test {

namespace {

using namespace Qt::StringLiterals;

constexpr int kDeepest = 12;
const QString kAccessible = u"org.a11y.atspi.Accessible"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;
const QString kBusService = u"org.a11y.Bus"_s;
const QString kBusPath = u"/org/a11y/bus"_s;

} // namespace

ScreenReader::ScreenReader(const PrivateBus &session)
    : m_connectionName(u"screen-reader-of-"_s + session.address())
{
    QProcessEnvironment environment = bareEnvironment();
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, session.address());
    for (const QString &folder : {u"HOME"_s, u"XDG_RUNTIME_DIR"_s})
        environment.insert(folder, m_home.path());
    environment.insert(u"GSETTINGS_BACKEND"_s, u"memory"_s); // there is no service for another
    m_launcher = std::make_unique<ChildProcess>(Command{
        u"/usr/libexec/at-spi-bus-launcher"_s, {u"--launch-immediately"_s}, environment, {}});

    const QString sessionName = m_connectionName + u"-session"_s;
    QDBusConnection bus = QDBusConnection::connectToBus(session.address(), sessionName);
    EXPECT_TRUE(becomes([&bus] { return bus.interface()->isServiceRegistered(kBusService); }));
    const QDBusMessage said = bus.call(
        QDBusMessage::createMethodCall(kBusService, kBusPath, kProperties, u"Set"_s)
        << u"org.a11y.Status"_s << u"IsEnabled"_s << QVariant::fromValue(QDBusVariant(true)));
    EXPECT_EQ(said.type(), QDBusMessage::ReplyMessage) << said.errorMessage().toStdString();
    const QDBusReply<QString> address = bus.call(
        QDBusMessage::createMethodCall(kBusService, kBusPath, kBusService, u"GetAddress"_s));
    EXPECT_TRUE(address.isValid()) << address.error().message().toStdString();
    QDBusConnection::disconnectFromBus(sessionName);
    m_bus = QDBusConnection::connectToBus(address.value(), m_connectionName);
    EXPECT_TRUE(m_bus->isConnected());
}

ScreenReader::~ScreenReader()
{
    m_bus.reset();
    QDBusConnection::disconnectFromBus(m_connectionName);
}

QDBusMessage ScreenReader::call(const Address &address, const QString &interface,
                                const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(address.service, address.path, interface, method);
    message.setArguments(arguments);
    return m_bus->call(message);
}

void ScreenReader::collect(const Address &address, int depth, QList<Thing> &things) const
{
    const QDBusReply<QDBusVariant> name =
        call(address, kProperties, u"Get"_s, {kAccessible, u"Name"_s});
    const QDBusReply<QString> role = call(address, kAccessible, u"GetRoleName"_s);
    things << Thing{address.service, address.path, name.value().variant().toString(), role.value()};
    if (depth == kDeepest)
        return;

    const QDBusMessage reply = call(address, kAccessible, u"GetChildren"_s);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return;
    const auto children = reply.arguments().value(0).value<QDBusArgument>();
    children.beginArray();
    while (!children.atEnd()) {
        Address child;
        QDBusObjectPath path;
        children.beginStructure();
        children >> child.service >> path;
        children.endStructure();
        child.path = path.path();
        collect(child, depth + 1, things);
    }
    children.endArray();
}

QList<ScreenReader::Thing> ScreenReader::everything() const
{
    QList<Thing> things;
    collect({u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s}, 0, things);
    return things;
}

std::optional<ScreenReader::Thing> ScreenReader::find(const QString &name) const
{
    for (const Thing &thing : everything()) {
        if (thing.name == name)
            return thing;
    }
    return std::nullopt;
}

void ScreenReader::press(const Thing &thing) const
{
    const QDBusReply<bool> done =
        call({thing.service, thing.path}, u"org.a11y.atspi.Action"_s, u"DoAction"_s, {0});
    EXPECT_TRUE(done.value()) << done.error().message().toStdString();
}

} // namespace corvella::test
