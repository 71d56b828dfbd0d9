#include "platform/session/ApplicationOnBus.h"

#include "platform/session/SingleInstance.h"

namespace corvella {

namespace {

// How a desktop lets a window come to the front that another program's start asked for.
const QString kActivationToken = QStringLiteral("activation-token");
constexpr const char *kActivationTokenVariable = "XDG_ACTIVATION_TOKEN";

} // namespace

ApplicationOnBus::ApplicationOnBus(SingleInstance &instance)
    : m_instance(instance)
{
}

QVariantMap ApplicationOnBus::platformData()
{
    QVariantMap data;
    if (const QString token = qEnvironmentVariable(kActivationTokenVariable); !token.isEmpty())
        data.insert(kActivationToken, token);
    return data;
}

void ApplicationOnBus::Activate(const QVariantMap &data)
{
    take({}, data);
}

void ApplicationOnBus::Open(const QStringList & /*uris*/, const QVariantMap &data)
{
    take({}, data); // there is nothing of the kind to open
}

void ApplicationOnBus::ActivateAction(const QString &name, const QVariantList & /*parameter*/,
                                      const QVariantMap &data)
{
    take(name, data);
}

void ApplicationOnBus::take(const QString &action, const QVariantMap &data)
{
    // Qt gives it to the next window that is activated, and forgets it then.
    if (const QString token = data.value(kActivationToken).toString(); !token.isEmpty())
        qputenv(kActivationTokenVariable, token.toUtf8());
    // After the answer: an action may be the end of the program.
    QMetaObject::invokeMethod(
        &m_instance, [&instance = m_instance, action] { Q_EMIT instance.activated(action); },
        Qt::QueuedConnection);
}

} // namespace corvella
