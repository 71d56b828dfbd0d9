#include "platform/session/SingleInstance.h"

#include "platform/storage/StandardFolders.h"

#include <QCryptographicHash>
#include <QDir>

namespace corvella {

SingleInstance::SingleInstance() = default;
SingleInstance::~SingleInstance() = default;

SingleInstance::Outcome SingleInstance::claim(const QString &action)
{
    // All that are to be had: of two starts, one may have a bus and the other none.
    for (const auto create : {createBusChannel, createLockChannel}) {
        m_channels.push_back(create(*this));
        const Outcome outcome = m_channels.back()->claim(action).value_or(Outcome::first);
        if (outcome != Outcome::first) {
            m_channels.clear(); // what is the other one's by rights
            return outcome;
        }
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
