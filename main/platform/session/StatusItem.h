// The program's item in the desktop's status area, which opens a menu: a StatusNotifierItem where
// the desktop has a watcher of such, else an icon in an X11 tray. There may be neither (GNOME has
// none by itself), and either may come long after the program, at login for one. Main thread only;
// nothing here waits.
#pragma once

#include <QIcon>
#include <QObject>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace corvella {

class SystemTrayX11;

class StatusItem : public QObject
{
    Q_OBJECT

public:
    // Comes up as soon as there is a place. The name is for screen readers and tool tips; the menu
    // must outlive this object. Hosts ask for its content when they like: it should be right at all
    // times.
    StatusItem(QIcon icon, QString name, QMenu &menu);
    ~StatusItem() override;

    [[nodiscard]] bool isShown() const { return m_item != nullptr; }

Q_SIGNALS:
    // The item itself was clicked, where that does not open the menu.
    void activated();

private Q_SLOTS:
    void askForWatcher(); // a slot, as Qt's bus connects by name

private:
    void waitForTray();
    void comeUp();

    const QIcon m_icon;
    const QString m_name;
    QMenu &m_menu;
    std::unique_ptr<SystemTrayX11> m_tray; // while we wait for one
    std::unique_ptr<QSystemTrayIcon> m_item;
};

} // namespace corvella
