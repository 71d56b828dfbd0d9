#include "cache/Address.h"

namespace corvella::Cache {

std::optional<QUrl> address(const QString &host, const QString &path)
{
    const QUrl base(u"https://" + host + u'/', QUrl::StrictMode);
    const bool isHostAlone = base.isValid() && !base.host().isEmpty()
        && !base.authority().contains(u'@') && !base.hasQuery() && !base.hasFragment();
    const QUrl whole(u"https://" + host + u'/' + path, QUrl::StrictMode);
    return isHostAlone && whole.isValid() ? std::optional(whole) : std::nullopt;
}

} // namespace corvella::Cache
