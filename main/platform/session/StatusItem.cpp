#include "platform/session/StatusItem.h"

#include "platform/session/SystemTrayX11.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

namespace corvella {

namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");

// A desktop that has both kinds starts them in any order; the newer one is better.
constexpr std::chrono::seconds kWaitForWatcher{2};

} // namespace

// Qt 6.4 asks for a watcher once, when it is first touched, waits for the answer, and stays with a
// no for the life of the process. So Qt is left alone until a watcher has answered us, or until
// there is an X11 tray and no watcher.
StatusItem::StatusItem(QIcon icon, QString name, QMenu &menu)
    : m_icon(std::move(icon))
    , m_name(std::move(name))
    , m_menu(menu)
{
    if (x11::isX11Session())
        QTimer::singleShot(kWaitForWatcher, this, &StatusItem::waitForTray);
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    auto *const owners =
        new QDBusServiceWatcher(kWatcher, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(owners, &QDBusServiceWatcher::serviceRegistered, this, &StatusItem::askForWatcher);
    // A watcher may be there before anything that shows what it watches.
    QDBusConnection(bus).connect(kWatcher, kWatcherPath, kWatcher,
                                 QStringLiteral("StatusNotifierHostRegistered"), this,
                                 SLOT(askForWatcher()));
    askForWatcher();
}

StatusItem::~StatusItem() = default;

void StatusItem::askForWatcher()
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        kWatcher, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    message.setArguments({kWatcher, QStringLiteral("IsStatusNotifierHostRegistered")});
    message.setAutoStartService(false);
    auto *const call =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> answer = *call;
        if (answer.isValid() && answer.value().variant().toBool())
            comeUp();
    });
}

void StatusItem::waitForTray()
{
    if (isShown())
        return;
    m_tray = SystemTrayX11::create();
    if (!m_tray)
        return;
    const auto look = [this] {
        if (m_tray->isThere())
            comeUp();
    };
    connect(m_tray.get(), &SystemTrayX11::changed, this, look);
    look();
}

void StatusItem::comeUp()
{
    if (isShown())
        return;
    if (m_tray)
        m_tray.release()->deleteLater(); // it may be what calls
    m_item = std::make_unique<QSystemTrayIcon>(m_icon);
    m_item->setToolTip(m_name);
    m_item->setContextMenu(&m_menu);
    connect(m_item.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    Q_EMIT activated();
            });
    m_item->show();
}

} // namespace corvella
