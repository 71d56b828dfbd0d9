// Update feeds of any content: whatever one says, each item that is left has all that a download
// and its verification need, and nothing is larger than its bound.
#include "platform/storage/BuildIdentity.h"
#include "platform/update/Appcast.h"

#include <QUrl>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    constexpr qsizetype kLongest = 1 << 15;
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const std::optional<Appcast> feed = Appcast::parse(bytes);
    if (!feed)
        return 0;
    if (!feed->issued.isValid() || feed->expires <= feed->issued)
        std::abort();
    for (const AppcastItem &item : feed->items) {
        if (item.build <= 0 || !BuildIdentity::isVersion(item.version) || item.machine.isEmpty()
            || QUrl(item.url).scheme() != u"https" || item.length <= 0
            || item.length > kLargestBundle || item.notes.size() > kLongest)
            std::abort();
    }
    return 0;
}
