// Product indexes of any content: whatever a host says, a product has an id, a date and a clip, and
// its texts are short enough for a manifest.
#include "cache/Remote.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella::Cache;
    constexpr qsizetype kLongest = 1024;
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const ProductIndex index = parseProductIndex(bytes);
    for (const Remote &product : index.products.value_or(QList<Remote>())) {
        if (product.videos.isEmpty() || product.id.size() > kLongest
            || product.label.size() > kLongest || product.updated.size() > kLongest)
            std::abort();
    }
    if (index.generated && index.generated->timeSpec() != Qt::UTC)
        std::abort();
    return 0;
}
