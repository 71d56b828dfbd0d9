// What a user types as imagery host, of any content: the address made of it is one by HTTPS, of
// that host, without a user, with nothing in the way of the path; and the library that connects
// reads the same host and port in it.
#include "cache/Address.h"
#include "settings/Settings.h"

#include <curl/curl.h>

#include <cstdlib>
#include <memory>

namespace {

constexpr int kHttpsPort = 443;

// One part as libcurl reads it; null where there is none.
QString part(CURLU *url, CURLUPart which, unsigned flags = 0)
{
    char *text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK)
        return {};
    const QString read = QString::fromUtf8(text);
    curl_free(text);
    return read;
}

bool isReadAlike(const QUrl &address)
{
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), curl_url_cleanup);
    // What it refuses to read is never connected to.
    if (curl_url_set(url.get(), CURLUPART_URL, address.toEncoded().constData(), 0) != CURLUE_OK)
        return true;
    QString host = address.host(QUrl::FullyEncoded);
    if (host.contains(u':'))
        host = u'[' + host + u']';
    return part(url.get(), CURLUPART_SCHEME) == u"https"
        && part(url.get(), CURLUPART_HOST).compare(host, Qt::CaseInsensitive) == 0
        && part(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT).toInt() == address.port(kHttpsPort)
        && part(url.get(), CURLUPART_USER).isNull() && part(url.get(), CURLUPART_PASSWORD).isNull();
}

bool isNameOfLetters(const QString &host)
{
    return !host.isEmpty() && std::all_of(host.begin(), host.end(), [](QChar character) {
        return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z');
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    const QString host = Settings::normalizedHost(
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    if (host.startsWith(u'/') || host.endsWith(u'/') || host.startsWith(u' ')
        || host.endsWith(u' '))
        std::abort();
    const std::optional<QUrl> address = Cache::address(host, QStringLiteral("manifest/index.json"));
    if (!address)
        return isNameOfLetters(host) && host.size() < 64 ? std::abort(), 0 : 0;
    if (address->scheme() != u"https" || address->host().isEmpty() || !address->userInfo().isEmpty()
        || address->hasQuery() || address->hasFragment()
        || !address->path().endsWith(u"/manifest/index.json") || !isReadAlike(*address))
        std::abort();
    if (isNameOfLetters(host) && address->host() != host.toLower())
        std::abort();
    return 0;
}
