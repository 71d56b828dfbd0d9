// A panel as far as a status item sees it: programs may register theirs, and nothing is asked of
// them.
#include <QCoreApplication>
#include <QDBusConnection>

class Panel : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostThere)

public:
    [[nodiscard]] bool isHostThere() const { return true; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString & /*item*/) {}
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Panel panel;
    QDBusConnection bus = QDBusConnection::sessionBus();
    const bool isThere =
        bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), &panel,
                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties)
        && bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    return isThere ? QCoreApplication::exec() : 1;
}

#include "Panel.moc"
