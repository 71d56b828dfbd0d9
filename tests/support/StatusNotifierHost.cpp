#include "support/StatusNotifierHost.h"

#include "support/Waiting.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDateTime>
#include <QUuid>

#include <gtest/gtest.h>

namespace corvella::test {

namespace {

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kItem = QStringLiteral("org.kde.StatusNotifierItem");
const QString kMenu = QStringLiteral("com.canonical.dbusmenu");
constexpr int kRoot = 0;

using Entry = StatusNotifierHost::Entry;

// One (ia{sv}av) of a layout; entries that are hidden are left out.
void collect(const QDBusArgument &node, QList<Entry> &entries)
{
    Entry entry;
    QVariantMap properties;
    QVariantList children;
    node.beginStructure();
    node >> entry.id >> properties >> children;
    node.endStructure();
    if (!properties.value(QStringLiteral("visible"), true).toBool())
        return;
    entry.title = properties.value(QStringLiteral("label")).toString().remove(u'_');
    entry.isEnabled = properties.value(QStringLiteral("enabled"), true).toBool();
    if (entry.id != kRoot)
        entries << entry;
    for (const QVariant &child : children)
        collect(child.value<QDBusArgument>(), entries);
}

} // namespace

StatusNotifierHost::StatusNotifierHost(const QString &busAddress)
    : m_connectionName(QUuid::createUuid().toString())
    , m_bus(QDBusConnection::connectToBus(busAddress, m_connectionName))
{
    EXPECT_TRUE(m_bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                     QDBusConnection::ExportAllSlots
                                         | QDBusConnection::ExportAllProperties));
    EXPECT_TRUE(m_bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")));
}

StatusNotifierHost::~StatusNotifierHost()
{
    QDBusConnection::disconnectFromBus(m_connectionName);
}

void StatusNotifierHost::RegisterStatusNotifierItem(const QString & /*service*/)
{
    m_item = message().service();
}

bool StatusNotifierHost::hasItem() const
{
    return becomes([this] { return !m_item.isEmpty(); });
}

QDBusMessage StatusNotifierHost::call(const QString &path, const QString &interface,
                                      const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(m_item, path, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall answer = m_bus.asyncCall(message);
    // The program may ask us something meanwhile.
    EXPECT_TRUE(becomes([&answer] { return answer.isFinished(); })) << qPrintable(method);
    return answer.reply();
}

QVariant StatusNotifierHost::property(const QString &name) const
{
    const QDBusMessage answer = call(kItemPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                     QStringLiteral("Get"), {kItem, name});
    return answer.arguments().value(0).value<QDBusVariant>().variant();
}

QString StatusNotifierHost::tip() const
{
    QString iconName;
    QString title;
    const auto argument = property(QStringLiteral("ToolTip")).value<QDBusArgument>();
    argument.beginStructure();
    argument >> iconName;
    argument.beginArray();
    argument.endArray();
    argument >> title;
    argument.endStructure();
    return title;
}

QList<Entry> StatusNotifierHost::menu() const
{
    const QString path = property(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    const QDBusMessage layout =
        call(path, kMenu, QStringLiteral("GetLayout"), {kRoot, -1, QStringList()});
    QList<Entry> entries;
    if (layout.arguments().size() == 2)
        collect(layout.arguments().at(1).value<QDBusArgument>(), entries);
    else
        ADD_FAILURE() << "no menu: " << qPrintable(layout.errorMessage());
    return entries;
}

QList<Entry> StatusNotifierHost::openMenu() const
{
    const QString path = property(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    call(path, kMenu, QStringLiteral("AboutToShow"), {kRoot});
    return menu();
}

QStringList StatusNotifierHost::titles() const
{
    QStringList titles;
    for (const Entry &entry : openMenu())
        titles << entry.title;
    return titles;
}

void StatusNotifierHost::choose(const QString &title) const
{
    const QString path = property(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    for (const Entry &entry : openMenu()) {
        if (entry.title != title)
            continue;
        const auto now = static_cast<uint>(QDateTime::currentSecsSinceEpoch());
        QDBusMessage event =
            QDBusMessage::createMethodCall(m_item, path, kMenu, QStringLiteral("Event"));
        event.setArguments({entry.id, QStringLiteral("clicked"),
                            QVariant::fromValue(QDBusVariant(QString())), now});
        m_bus.send(event);
        return;
    }
    ADD_FAILURE() << "no entry " << qPrintable(title);
}

void StatusNotifierHost::click() const
{
    call(kItemPath, kItem, QStringLiteral("Activate"), {0, 0});
}

} // namespace corvella::test
