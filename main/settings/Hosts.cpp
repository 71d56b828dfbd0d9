#include "settings/Hosts.h"

namespace corvella::Hosts {

QString origin()
{
    return QStringLiteral(CORVELLA_ORIGIN_HOST);
}

QString defaultImagery()
{
    return QStringLiteral(CORVELLA_IMAGERY_HOST);
}

QString defaultStore()
{
    return QStringLiteral(CORVELLA_STORE_HOST);
}

QString maker()
{
    return QStringLiteral(CORVELLA_MAKER_DOMAIN);
}

} // namespace corvella::Hosts
