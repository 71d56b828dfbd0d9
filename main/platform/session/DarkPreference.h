// Whether the user wants dark windows, as the desktop's portal tells everyone. Qt 6.4 does not ask
// it, and so is light on a dark GNOME. Main thread only; nothing here waits.
#pragma once

#include <QObject>

class QDBusVariant;

namespace corvella {

class DarkPreference : public QObject
{
    Q_OBJECT

public:
    // Asks at once, and again each time that a portal starts.
    DarkPreference();

    // False until it is known, and where no portal is.
    [[nodiscard]] bool isDark() const { return m_isDark; }

Q_SIGNALS:
    void changed();

private Q_SLOTS: // as Qt's bus connects by name
    void ask();
    void take(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void set(bool isDark);

    bool m_isDark = false;
};

} // namespace corvella
