// The program as others on the session's bus see it: org.freedesktop.Application. Main thread only.
#pragma once

#include <QObject>
#include <QVariantMap>

namespace corvella {

class SingleInstance;

class ApplicationOnBus : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    // What is asked of it comes as the instance's activated().
    explicit ApplicationOnBus(SingleInstance &instance);

    // What a second start tells of itself, so that the first may come to the front.
    [[nodiscard]] static QVariantMap platformData();

public Q_SLOTS:
    // By the interface's own names.
    void Activate(const QVariantMap &data);
    void Open(const QStringList &uris, const QVariantMap &data);
    void ActivateAction(const QString &name, const QVariantList &parameter,
                        const QVariantMap &data);

private:
    void take(const QString &action, const QVariantMap &data);

    SingleInstance &m_instance;
};

} // namespace corvella
