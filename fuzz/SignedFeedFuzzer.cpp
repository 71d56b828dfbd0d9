// Signed feeds of any content: without the key nobody makes one that is believed.
#include "platform/update/SignedFeed.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    static const PublicKey key =
        *PublicKey::parse("PUAXw+hDiVqStwqnTRt+vJyYLM8uxJaMwM1V8Sr0Zgw="); // of RFC 8032
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QDateTime now = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
    if (readSignedFeed(bytes, key, {}, now).verdict != FeedVerdict::notSigned)
        std::abort();
    return 0;
}
