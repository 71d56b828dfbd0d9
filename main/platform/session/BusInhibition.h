// One thing that a D-Bus service holds back for us while this object lives: taken without waiting,
// and again when the service starts or restarts. The service lets go by itself when this program
// ends in any way. Main thread only.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QVariantList>

#include <optional>

namespace corvella {

enum class MessageBus { session, system };

// What to ask for, and of whom.
struct InhibitionRequest
{
    QString purpose; // for the log: "power keys and shutdown"
    MessageBus bus = MessageBus::session;
    QString service;
    QString path;
    QString interface;
    QVariantList arguments; // of its method Inhibit
    // The method that takes back the number which Inhibit gave; empty where Inhibit gives a file
    // descriptor, which is closed.
    QString release;
    // Whether the log says that nobody offers it. Else that is how some desktops are.
    bool isExpected = false;
};

class BusInhibition : public QObject
{
    Q_OBJECT

public:
    explicit BusInhibition(InhibitionRequest request);
    ~BusInhibition() override;

private:
    void begin(const QDBusConnection &bus);
    void ask();
    void take(const QDBusMessage &reply);
    void reportRefusal(const QDBusMessage &reply);
    void letGo();

    InhibitionRequest m_request;
    std::optional<QDBusConnection> m_bus;
    QDBusServiceWatcher m_watcher;
    std::optional<uint> m_cookie;
    QDBusUnixFileDescriptor m_descriptor;
    int m_asked = 0; // how many times; an answer to an earlier one comes too late
};

} // namespace corvella
