#include "updater/UpdateTrust.h"

namespace corvella::UpdateTrust {

QString feed()
{
    return QStringLiteral(CORVELLA_UPDATE_FEED);
}

QByteArray key()
{
    return QByteArrayLiteral(CORVELLA_UPDATE_KEY);
}

} // namespace corvella::UpdateTrust
