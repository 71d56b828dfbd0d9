#include "platform/session/DarkPreference.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace corvella {

namespace {

// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html
const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kSettings = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");
constexpr uint kPrefersDark = 1;

// Read() wraps what it gives once more than the signal does.
bool isDarkScheme(const QDBusVariant &scheme)
{
    QVariant value = scheme.variant();
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt() == kPrefersDark;
}

} // namespace

DarkPreference::DarkPreference()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    auto *const owners =
        new QDBusServiceWatcher(kPortal, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(owners, &QDBusServiceWatcher::serviceRegistered, this, &DarkPreference::ask);
    // Qt finds the slot's type by its name, and else connects nothing.
    qRegisterMetaType<QDBusVariant>();
    bus.connect(kPortal, kPath, kSettings, QStringLiteral("SettingChanged"), this,
                SLOT(take(QString, QString, QDBusVariant)));
    ask();
}

void DarkPreference::ask()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(kPortal, kPath, kSettings, QStringLiteral("Read"));
    question.setArguments({kGroup, kKey});
    question.setAutoStartService(false);
    auto *const call =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> scheme = *call;
        if (scheme.isValid()) // else its desktop has no such setting
            set(isDarkScheme(scheme.value()));
    });
}

void DarkPreference::take(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == kGroup && key == kKey)
        set(isDarkScheme(value));
}

void DarkPreference::set(bool isDark)
{
    if (std::exchange(m_isDark, isDark) != isDark)
        Q_EMIT changed();
}

} // namespace corvella
