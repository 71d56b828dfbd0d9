#include "platform/pictures/ServiceCall.h"

#include <QDBusConnection>
#include <QDBusError>

namespace corvella {

namespace {

constexpr int kCallPatience = 2000; // milliseconds, with one call

ServiceAnswer failureOf(const QDBusMessage &call, const QDBusMessage &answer)
{
    switch (QDBusError(answer).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return {{}, call.service() + QStringLiteral(" does not answer"), true};
    case QDBusError::ServiceUnknown:
        return {{}, call.service() + QStringLiteral(" is not running")};
    default:
        if (answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
            return {{}, call.service() + QStringLiteral(" is not running")};
        return {{}, answer.errorMessage().isEmpty() ? answer.errorName() : answer.errorMessage()};
    }
}

} // namespace

QDBusMessage serviceCall(const QString &service, const QString &path, const QString &interface,
                         const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

ServiceAnswer ask(const QDBusMessage &call)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return {{}, QStringLiteral("there is no session bus")};
    const QDBusMessage answer = bus.call(call, QDBus::Block, kCallPatience);
    if (answer.type() != QDBusMessage::ReplyMessage)
        return failureOf(call, answer);
    return {answer.arguments(), {}};
}

QStringList runningServices()
{
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    return ask(serviceCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus,
                           QStringLiteral("ListNames")))
        .values.value(0)
        .toStringList();
}

} // namespace corvella
