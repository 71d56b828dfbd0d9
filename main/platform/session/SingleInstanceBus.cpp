#include "platform/session/ApplicationOnBus.h"
#include "platform/session/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QVariantMap>

namespace corvella {

namespace {

using Outcome = SingleInstance::Outcome;

const QString kPath = QStringLiteral("/space/tarrow/corvella");
constexpr const char *kInterface = "org.freedesktop.Application";
// For the bus, and for the one that runs.
constexpr int kBusPatienceMs = 2000;
constexpr uint kDoNotQueue = 4;   // asked of the bus
constexpr uint kPrimaryOwner = 1; // what it answers
constexpr uint kAlreadyOwner = 4;

class BusChannel final : public SingleInstance::Channel
{
public:
    explicit BusChannel(SingleInstance &instance)
        : m_application(instance)
    {
    }
    ~BusChannel() override
    {
        if (!m_isOurs)
            return;
        m_bus.unregisterObject(kPath);
        QDBusMessage release = busMethod(QStringLiteral("ReleaseName"));
        release.setArguments({m_name});
        m_bus.send(release);
    }

    std::optional<Outcome> claim(const QString &word) override
    {
        // In this order: who finds the name finds the object.
        if (!m_bus.isConnected()
            || !m_bus.registerObject(kPath, &m_application, QDBusConnection::ExportAllSlots))
            return std::nullopt;
        // The one that runs may be ending: then it is our turn after all.
        constexpr int kTries = 2;
        std::optional<Outcome> outcome;
        for (int i = 0; i < kTries && !m_isOurs && outcome != Outcome::handedOver; ++i) {
            const QDBusMessage answer = requestName();
            if (answer.type() != QDBusMessage::ReplyMessage)
                return std::nullopt;
            const uint status = answer.arguments().value(0).toUInt();
            m_isOurs = status == kPrimaryOwner || status == kAlreadyOwner;
            if (m_isOurs)
                outcome = Outcome::first;
            else if (!outcome)
                outcome = handOver(word);
        }
        if (!m_isOurs)
            m_bus.unregisterObject(kPath);
        return outcome.value_or(Outcome::silent);
    }

private:
    static QDBusMessage busMethod(const QString &method)
    {
        const QString bus = QStringLiteral("org.freedesktop.DBus");
        return QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus,
                                              method);
    }

    [[nodiscard]] QDBusMessage requestName() const
    {
        QDBusMessage request = busMethod(QStringLiteral("RequestName"));
        request.setArguments({m_name, kDoNotQueue});
        return m_bus.call(request, QDBus::Block, kBusPatienceMs);
    }

    // None where nobody has the name any more.
    [[nodiscard]] std::optional<Outcome> handOver(const QString &word) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            m_name, kPath, QString::fromLatin1(kInterface),
            word.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("ActivateAction"));
        message.setArguments(
            word.isEmpty() ? QVariantList{ApplicationOnBus::platformData()}
                           : QVariantList{word, QVariantList(), ApplicationOnBus::platformData()});
        message.setAutoStartService(false);
        const QDBusMessage answer = m_bus.call(message, QDBus::Block, kBusPatienceMs);
        if (answer.type() == QDBusMessage::ReplyMessage)
            return Outcome::handedOver;
        const bool isGone = QDBusError(answer).type() == QDBusError::ServiceUnknown
            || answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
        return isGone ? std::nullopt : std::optional(Outcome::silent);
    }

    const QString m_name = QStringLiteral("space.tarrow.corvella") + instanceSuffix();
    QDBusConnection m_bus = QDBusConnection::sessionBus();
    ApplicationOnBus m_application;
    bool m_isOurs = false;
};

} // namespace

std::unique_ptr<SingleInstance::Channel> createBusChannel(SingleInstance &instance)
{
    return std::make_unique<BusChannel>(instance);
}

} // namespace corvella
