// Stands in for a desktop's service on a bus of the test's own: takes every call to its name, keeps
// it, and answers as it was told. It leaves the bus with the object. Main thread only; the event
// loop must turn.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>
#include <QMap>
#include <QStringList>

#include <functional>
#include <optional>
#include <variant>

namespace corvella::test {

class PrivateBus;

// A descriptor for a service to answer with, and whether the caller still holds it open.
class LentDescriptor
{
public:
    LentDescriptor();
    ~LentDescriptor();
    LentDescriptor(const LentDescriptor &) = delete;
    LentDescriptor &operator=(const LentDescriptor &) = delete;

    // To be given once; the service has to be told another answer afterwards, else it holds the
    // descriptor, too.
    [[nodiscard]] QVariantList answer();
    [[nodiscard]] bool isHeld() const;

private:
    int m_ends[2] = {-1, -1}; // of a pipe; the second is lent
};

class StandInService : public QDBusVirtualObject
{
public:
    struct Call
    {
        QString path;
        QString interface;
        QString method;
        QVariantList arguments;

        bool operator==(const Call &) const = default;
    };
    struct Error
    {
        QString name;
        QString text;
    };
    struct Silence
    {
    };
    // Works it out from the arguments.
    using Reply = std::function<QVariantList(const QVariantList &)>;
    using Answer = std::variant<QVariantList, Error, Silence, Reply>;

    // Takes the name on this bus; fails the test when it cannot be had.
    StandInService(const PrivateBus &bus, const QString &name);
    ~StandInService() override;

    // What it answers to a method from now on. To others it answers that it does not know them.
    void setAnswer(const QString &method, const Answer &answer) { m_answers[method] = answer; }
    // Answers what it was silent to so far.
    void answerNow(const QVariantList &values);

    // Sends a signal to whoever listens.
    void tell(const QString &path, const QString &interface, const QString &signal,
              const QVariantList &values);

    [[nodiscard]] const QList<Call> &calls() const { return m_calls; }
    // Those of one method.
    [[nodiscard]] QList<Call> calls(const QString &method) const;
    // Waits until a method was called that many times.
    [[nodiscard]] bool gets(const QString &method, int times = 1) const;
    // Whether the one who made the latest call is still on the bus.
    [[nodiscard]] bool isCallerThere() const;

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    const QString m_connectionName;
    QDBusConnection m_bus;
    QMap<QString, Answer> m_answers;
    QList<QDBusMessage> m_unanswered;
    QList<Call> m_calls;
    QString m_latestCaller;
};

} // namespace corvella::test
