// A panel of the test's own: the watcher that programs register their status items with, and a
// reader of their menus, by the protocols that desktops speak. Main thread only; the event loop
// must turn.
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QList>
#include <QObject>
#include <QStringList>

#include <optional>

namespace corvella::test {

class StatusNotifierHost : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostThere)

public:
    struct Entry
    {
        int id = 0;
        QString title; // empty for a line between entries
        bool isEnabled = true;
    };

    // Takes the watcher's name on the bus with this address; fails the test when it cannot be had.
    explicit StatusNotifierHost(const QString &busAddress);
    ~StatusNotifierHost() override;

    // Waits until an item is there; one at a time.
    [[nodiscard]] bool hasItem() const;
    // What its pop-up help says.
    [[nodiscard]] QString tip() const;
    // Opens the menu, as a click of the user does, and gives what can be seen of it.
    [[nodiscard]] QList<Entry> openMenu() const;
    [[nodiscard]] QStringList titles() const;
    // What is seen of it without a word to the program before, as some hosts do it.
    [[nodiscard]] QList<Entry> menu() const;
    // Clicks on an entry; fails the test where there is none of that title.
    void choose(const QString &title) const;
    // Clicks on the item itself.
    void click() const;

    [[nodiscard]] bool isHostThere() const { return true; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service);

private:
    [[nodiscard]] QVariant property(const QString &name) const;
    QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments) const;

    const QString m_connectionName;
    QDBusConnection m_bus;
    QString m_item; // the unique name of the program
};

} // namespace corvella::test
