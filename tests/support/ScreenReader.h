// What a screen reader finds on a session bus: the desktop's accessibility service, and through it
// what programs tell of themselves. Main thread only.
#pragma once

#include "support/ChildProcess.h"

#include <QDBusConnection>
#include <QList>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace corvella::test {

class PrivateBus;

class ScreenReader
{
public:
    // Starts the accessibility service on the session bus, and says that a reader is there, as one
    // does. Fails the test when that does not work. The bus must outlive it.
    explicit ScreenReader(const PrivateBus &session);
    ~ScreenReader();

    struct Thing
    {
        QString service;
        QString path;
        QString name;
        QString role; // in words: "push button"
    };
    // All that programs show, from the outside in.
    [[nodiscard]] QList<Thing> everything() const;
    // The first of this name, if there is one.
    [[nodiscard]] std::optional<Thing> find(const QString &name) const;

    // Does what a press on it would do.
    void press(const Thing &thing) const;

private:
    struct Address
    {
        QString service;
        QString path;
    };
    [[nodiscard]] QDBusMessage call(const Address &address, const QString &interface,
                                    const QString &method,
                                    const QVariantList &arguments = {}) const;
    void collect(const Address &address, int depth, QList<Thing> &things) const;

    const QString m_connectionName;
    QTemporaryDir m_home; // of the service
    std::unique_ptr<ChildProcess> m_launcher;
    std::optional<QDBusConnection> m_bus; // the one that accessible things are on
};

} // namespace corvella::test
