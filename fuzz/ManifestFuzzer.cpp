// Manifests of any content: no entry may name a file outside the cache folder.
#include "cache/Manifest.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const QJsonObject &entry : parseManifest(bytes)) {
        const QString video = entry.value(QLatin1String("video")).toString();
        if (isPlainFileName(video) && (video.contains(u'/') || video == QLatin1String("..")))
            std::abort();
    }
    return 0;
}
