// Settings files of any content: what parses is written back as what parses to the same.
#include "platform/storage/DefaultsFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    const auto settings = parseDefaults(
        QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    if (settings && parseDefaults(serializeDefaults(*settings)) != settings)
        std::abort();
    return 0;
}
