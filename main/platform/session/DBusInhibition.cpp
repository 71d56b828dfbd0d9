#include "platform/session/DBusInhibition.h"

#include "log.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <QTimer>

#include <limits>

namespace corvella {

namespace {

// An answer is never too late: it may say that something was inhibited for us. But after this long
// the log tells what we wait for.
constexpr int kNoLimit = std::numeric_limits<int>::max();
constexpr std::chrono::seconds kSilence{2};

// Or that whoever is there does other things under the name.
bool saysThatNobodyIsThere(const QDBusMessage &answer)
{
    switch (QDBusError(answer).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownObject:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
        return true;
    default:
        return answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    }
}

} // namespace

DBusInhibition::DBusInhibition(Service service)
    : m_service(std::move(service))
{
    auto *const watcher = new QDBusServiceWatcher(m_service.name, m_service.bus,
                                                  QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &DBusInhibition::followOwner);
    ask();
}

DBusInhibition::~DBusInhibition()
{
    if (m_state == State::held)
        giveBack(m_service, m_answer);
}

void DBusInhibition::ask()
{
    if (!m_service.bus.isConnected())
        return; // Qt would never call back
    setState(State::asked);
    QDBusMessage message = QDBusMessage::createMethodCall(
        m_service.name, m_service.path, m_service.interface, QStringLiteral("Inhibit"));
    message.setArguments(m_service.arguments);
    message.setAutoStartService(false);
    // It outlives this object, so that an answer that comes afterwards is given back.
    auto *const call = new QDBusPendingCallWatcher(m_service.bus.asyncCall(message, kNoLimit),
                                                   QCoreApplication::instance());
    const int question = ++m_question;
    connect(call, &QDBusPendingCallWatcher::finished, call,
            [call, question, self = QPointer(this), service = m_service] {
                call->deleteLater();
                if (self && self->m_question == question)
                    self->take(*call);
                else
                    giveBack(service, call->reply());
            });
    QTimer::singleShot(kSilence, this, [this, question] {
        if (m_question == question && m_state == State::asked)
            complainOfSilence();
    });
}

void DBusInhibition::take(const QDBusPendingCall &call)
{
    m_answer = call.reply();
    if (!call.isError())
        return setState(State::held);
    if (!saysThatNobodyIsThere(m_answer))
        log(QStringLiteral("%1 refuses to inhibit: %2")
                .arg(m_service.name, m_answer.errorMessage()));
    setState(State::notHeld);
}

void DBusInhibition::complainOfSilence()
{
    log(QStringLiteral("%1 does not answer").arg(m_service.name));
    setState(State::notHeld);
}

void DBusInhibition::followOwner(const QString & /*name*/, const QString & /*before*/,
                                 const QString &now)
{
    // What the previous one held for us went with it.
    m_answer = {};
    if (!now.isEmpty())
        return ask();
    ++m_question;
    setState(State::notHeld);
}

void DBusInhibition::setState(State state)
{
    if (std::exchange(m_state, state) != state)
        Q_EMIT stateChanged();
}

void DBusInhibition::giveBack(const Service &service, const QDBusMessage &answer)
{
    // A file descriptor is closed with the answer.
    if (answer.type() != QDBusMessage::ReplyMessage || service.release.isEmpty())
        return;
    QDBusMessage message = QDBusMessage::createMethodCall(service.name, service.path,
                                                          service.interface, service.release);
    message.setArguments(answer.arguments());
    message.setAutoStartService(false);
    service.bus.send(message);
}

} // namespace corvella
