#include "platform/session/SingleInstance.h"

#include "platform/storage/StandardFolders.h"

#include <QCryptographicHash>
#include <QDir>

namespace corvella {

SingleInstance::SingleInstance() = default;
SingleInstance::~SingleInstance() = default;

SingleInstance::Outcome SingleInstance::claim(const QString &action)
{
    for (const auto create : {createBusChannel, createLockChannel}) {
        m_channel = create(*this);
        if (const std::optional<Outcome> outcome = m_channel->claim(action))
            return *outcome;
    }
    return Outcome::first;
}

QString instanceSuffix()
{
    const QString settings = QDir::cleanPath(StandardFolders::config());
    if (settings == QDir::cleanPath(StandardFolders::home() + QStringLiteral("/.config")))
        return {};
    constexpr qsizetype kDigits = 16;
    const QByteArray hash =
        QCryptographicHash::hash(settings.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral(".at") + QString::fromLatin1(hash.left(kDigits)); // no digit first
}

} // namespace corvella
