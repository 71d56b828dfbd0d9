#include "platform/session/SessionLock.h"

#include "log.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <array>

namespace corvella {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience{2000};
constexpr milliseconds kBetweenLooks{100};

// Their interfaces are called as they are.
struct Locker
{
    const char *name;
    const char *path;
    bool takesText = false;
    bool switchesDisplaysOff = false;
};

// GNOME's answers under the general name, too, and does not lock there.
constexpr std::array kLockers{
    Locker{"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver", false, true},
    Locker{"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver", true},
    Locker{"org.mate.ScreenSaver", "/org/mate/ScreenSaver"},
    Locker{"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver"},
    Locker{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
};

QDBusMessage messageTo(const Locker &locker, const char *method)
{
    const QString name = QString::fromLatin1(locker.name);
    return QDBusMessage::createMethodCall(name, QString::fromLatin1(locker.path), name,
                                          QString::fromLatin1(method));
}

QDBusMessage messageToLogind(const char *interface, const char *method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
                                          QStringLiteral("/org/freedesktop/login1/session/auto"),
                                          QString::fromLatin1(interface),
                                          QString::fromLatin1(method));
}

bool isError(const QDBusMessage &answer)
{
    return answer.type() != QDBusMessage::ReplyMessage;
}

// Not so where there is no such service, or one that does other things under the name.
bool isFailure(const QDBusMessage &answer)
{
    switch (QDBusError(answer).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownObject:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
        return false;
    default:
        return answer.errorName() != QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    }
}

// The answer as such, or in the variant that a property comes in.
bool saysYes(const QDBusMessage &answer)
{
    const QVariant value = answer.arguments().value(0);
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant().toBool()
                                            : value.toBool();
}

} // namespace

SessionLock::SessionLock()
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatience);
    connect(&m_patience, &QTimer::timeout, this, &SessionLock::giveUp);
}

void SessionLock::begin()
{
    ++m_attempt;
    m_switchesDisplaysOff = false;
    m_patience.start();
    askDesktop(0);
}

void SessionLock::askDesktop(size_t index)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (index == kLockers.size() || !bus.isConnected())
        return askLogind();
    const Locker &locker = kLockers[index];
    QDBusMessage lock = messageTo(locker, "Lock");
    if (locker.takesText)
        lock << QString();
    ask(bus, lock, [this, bus, index, &locker](const QDBusMessage &answer) {
        if (!isError(answer)) {
            m_switchesDisplaysOff = locker.switchesDisplaysOff;
            return awaitLock(bus, messageTo(locker, "GetActive"));
        }
        if (isFailure(answer))
            log(QStringLiteral("session lock: %1: %2")
                    .arg(QString::fromLatin1(locker.name), answer.errorMessage()));
        askDesktop(index + 1);
    });
}

void SessionLock::askLogind()
{
    // It only passes the wish on, and says nothing of whether anybody heeds it.
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return finishUnlocked(bus.lastError().message());
    ask(bus, messageToLogind("org.freedesktop.login1.Session", "Lock"),
        [this, bus](const QDBusMessage &answer) {
            if (isError(answer))
                return finishUnlocked(answer.errorMessage());
            QDBusMessage isLocked = messageToLogind("org.freedesktop.DBus.Properties", "Get");
            isLocked << QStringLiteral("org.freedesktop.login1.Session")
                     << QStringLiteral("LockedHint");
            awaitLock(bus, isLocked);
        });
}

void SessionLock::awaitLock(const QDBusConnection &bus, const QDBusMessage &isLocked)
{
    ask(bus, isLocked, [this, bus, isLocked](const QDBusMessage &answer) {
        // Who does not say whether it is locked has said at least that it would be.
        if (isError(answer) || saysYes(answer))
            return finish();
        QTimer::singleShot(kBetweenLooks, this, [this, bus, isLocked, attempt = m_attempt] {
            if (isLocking() && attempt == m_attempt)
                awaitLock(bus, isLocked);
        });
    });
}

void SessionLock::finish()
{
    m_patience.stop();
    Q_EMIT finished();
}

void SessionLock::finishUnlocked(const QString &reason)
{
    log(QStringLiteral("session lock: nothing here locks (%1)").arg(reason));
    finish();
}

void SessionLock::giveUp()
{
    log(QStringLiteral("session lock: nobody says within %1 s that it is locked")
            .arg(kPatience / std::chrono::seconds(1)));
    Q_EMIT finished();
}

void SessionLock::ask(const QDBusConnection &bus, QDBusMessage question,
                      std::function<void(const QDBusMessage &)> take)
{
    question.setAutoStartService(false);
    // Its own time limit lies far beyond our patience, which alone ends the wait.
    auto *const call = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, call, attempt = m_attempt, take = std::move(take)] {
                call->deleteLater();
                if (isLocking() && attempt == m_attempt)
                    take(call->reply());
            });
}

} // namespace corvella
