#include "platform/session/BusInhibition.h"

#include "log.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QThreadPool>

#include <algorithm>
#include <array>
#include <functional>

namespace corvella {

namespace {

constexpr int kPatience = 2000; // milliseconds for an answer

// Connecting waits for the bus, so another thread does it.
void connectTo(MessageBus which, const std::function<void(const QDBusConnection &)> &then)
{
    QThreadPool::globalInstance()->start([which, then] {
        const QDBusConnection bus = which == MessageBus::system ? QDBusConnection::systemBus()
                                                                : QDBusConnection::sessionBus();
        QMetaObject::invokeMethod(qApp, [bus, then] { then(bus); });
    });
}

QDBusMessage callOf(const InhibitionRequest &request, const QString &method)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(request.service, request.path, request.interface, method);
    call.setAutoStartService(false);
    return call;
}

std::optional<uint> cookieIn(const QDBusMessage &reply)
{
    const QVariant first = reply.arguments().value(0);
    return first.typeId() == QMetaType::UInt ? std::optional(first.toUInt()) : std::nullopt;
}

void giveBack(const QDBusConnection &bus, const InhibitionRequest &request, uint cookie)
{
    QDBusMessage call = callOf(request, request.release);
    call << cookie;
    bus.send(call);
}

// Nobody there, or somebody who does not do this.
bool isNotOffered(const QDBusMessage &reply)
{
    constexpr std::array kErrors{QDBusError::ServiceUnknown, QDBusError::UnknownMethod,
                                 QDBusError::UnknownInterface, QDBusError::UnknownObject};
    return std::ranges::count(kErrors, QDBusError(reply).type()) > 0
        || reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

} // namespace

BusInhibition::BusInhibition(InhibitionRequest request)
    : m_request(std::move(request))
{
    connectTo(m_request.bus, [self = QPointer(this)](const QDBusConnection &bus) {
        if (self)
            self->begin(bus);
    });
}

BusInhibition::~BusInhibition()
{
    letGo();
}

void BusInhibition::begin(const QDBusConnection &bus)
{
    if (!bus.isConnected()) {
        reportRefusal(QDBusMessage::createError(bus.lastError()));
        return;
    }
    m_bus = bus;
    m_watcher.setConnection(bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.addWatchedService(m_request.service);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString & /*service*/, const QString & /*old*/, const QString &owner) {
                // What the former owner held went with it.
                m_cookie.reset();
                if (!owner.isEmpty())
                    ask();
            });
    ask();
}

void BusInhibition::ask()
{
    QDBusMessage call = callOf(m_request, QStringLiteral("Inhibit"));
    call.setArguments(m_request.arguments);
    auto *const answer = new QDBusPendingCallWatcher(m_bus->asyncCall(call, kPatience));
    connect(answer, &QDBusPendingCallWatcher::finished, answer,
            [self = QPointer(this), asked = ++m_asked, bus = *m_bus, request = m_request, answer] {
                answer->deleteLater();
                if (self && self->m_asked == asked)
                    self->take(answer->reply());
                else if (const std::optional<uint> cookie = cookieIn(answer->reply()))
                    giveBack(bus, request, *cookie);
            });
}

void BusInhibition::take(const QDBusMessage &reply)
{
    m_cookie = cookieIn(reply);
    m_descriptor = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
    if (!m_cookie && !m_descriptor.isValid())
        reportRefusal(reply);
}

void BusInhibition::reportRefusal(const QDBusMessage &reply)
{
    if (!m_request.isExpected && isNotOffered(reply))
        return;
    const QString reason = reply.type() == QDBusMessage::ErrorMessage
        ? reply.errorMessage()
        : QStringLiteral("an answer that says nothing");
    log(QStringLiteral("kiosk: not held back: %1: %2").arg(m_request.purpose, reason));
}

void BusInhibition::letGo()
{
    if (m_cookie)
        giveBack(*m_bus, m_request, *m_cookie);
    m_cookie.reset();
    m_descriptor = {};
}

} // namespace corvella
