// An inhibition that a service on a bus holds for us, and gives up with our connection: with the
// object, or with the process however that ends. Included by D-Bus back-ends only. Main thread
// only; nothing here waits for a service, and none is started by it.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QVariantList>

class QDBusPendingCall;

namespace corvella {

class DBusInhibition : public QObject
{
    Q_OBJECT

public:
    // Where to ask, and how to take it back.
    struct Service
    {
        QDBusConnection bus;
        QString name;
        QString path;
        QString interface;
        QVariantList arguments; // of its method Inhibit
        // Takes the number that Inhibit gave. Empty where it gives a file descriptor, to be closed.
        QString release;
    };
    enum class State {
        asked,
        held,
        notHeld, // nobody there, or one who refuses or is silent
    };

    // Asks at once, and again whenever another process takes the service's name. Refusals and
    // silence are logged.
    explicit DBusInhibition(Service service);
    ~DBusInhibition() override;

    [[nodiscard]] State state() const { return m_state; }

Q_SIGNALS:
    void stateChanged();

private:
    using Cookie = uint;

    void ask();
    void take(const QDBusPendingCall &call);
    void followOwner(const QString &name, const QString &before, const QString &now);
    void complainOfSilence();
    void setState(State state);
    // Gives back what an answer brought that nobody wants any more.
    static void giveBack(const Service &service, const QDBusMessage &answer);

    const Service m_service;
    State m_state = State::notHeld;
    int m_question = 0;    // the number of the latest; answers to others come too late
    QDBusMessage m_answer; // while held
};

} // namespace corvella
