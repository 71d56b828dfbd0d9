#include "support/StandInService.h"

#include "support/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QUuid>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace corvella::test {

LentDescriptor::LentDescriptor()
{
    EXPECT_EQ(::pipe2(m_ends, O_CLOEXEC), 0);
}

LentDescriptor::~LentDescriptor()
{
    ::close(m_ends[0]);
}

QVariantList LentDescriptor::answer()
{
    const QDBusUnixFileDescriptor lent(m_ends[1]); // a copy
    ::close(m_ends[1]);
    return {QVariant::fromValue(lent)};
}

bool LentDescriptor::isHeld() const
{
    pollfd end{m_ends[0], POLLIN, 0};
    return ::poll(&end, 1, 0) == 0;
}

StandInService::StandInService(const PrivateBus &bus, const QString &name)
    : m_connectionName(QUuid::createUuid().toString())
    , m_bus(QDBusConnection::connectToBus(bus.address(), m_connectionName))
{
    EXPECT_TRUE(m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath));
    EXPECT_TRUE(m_bus.registerService(name)) << qPrintable(m_bus.lastError().message());
}

StandInService::~StandInService()
{
    m_bus.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
    QDBusConnection::disconnectFromBus(m_connectionName);
}

void StandInService::answerNow(const QVariantList &values)
{
    for (const QDBusMessage &message : std::exchange(m_unanswered, {}))
        m_bus.send(message.createReply(values));
}

void StandInService::tell(const QString &path, const QString &interface, const QString &signal,
                          const QVariantList &values)
{
    QDBusMessage message = QDBusMessage::createSignal(path, interface, signal);
    message.setArguments(values);
    m_bus.send(message);
}

QList<StandInService::Call> StandInService::calls(const QString &method) const
{
    QList<Call> some = m_calls;
    some.removeIf([&method](const Call &call) { return call.method != method; });
    return some;
}

bool StandInService::gets(const QString &method, int times) const
{
    return becomes([&] { return calls(method).size() >= times; });
}

bool StandInService::isCallerThere() const
{
    return m_bus.interface()->isServiceRegistered(m_latestCaller);
}

QString StandInService::introspect(const QString & /*path*/) const
{
    return {};
}

bool StandInService::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    m_calls << Call{message.path(), message.interface(), message.member(), message.arguments()};
    m_latestCaller = message.service();
    if (!m_answers.contains(message.member()))
        return false;
    const Answer &answer = m_answers[message.member()];
    if (const auto *const values = std::get_if<QVariantList>(&answer))
        connection.send(message.createReply(*values));
    else if (const auto *const reply = std::get_if<Reply>(&answer))
        connection.send(message.createReply((*reply)(message.arguments())));
    else if (const auto *const error = std::get_if<Error>(&answer))
        connection.send(message.createErrorReply(error->name, error->text));
    else
        m_unanswered << message;
    return true;
}

} // namespace corvella::test
