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

    // Takes the name on the bus with this address; fails the test when it cannot be had.
    StandInService(const QString &busAddress, const QString &name);
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
