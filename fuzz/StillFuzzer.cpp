// Stills of any content: there is a picture of a still's size with nothing beside its pixels, or a
// reason why not.
#include "platform/pictures/PictureFile.h"

#include <QtEndian>

#include <cstdlib>

namespace {

constexpr qsizetype kBeforeChunks = 8;
constexpr qsizetype kAroundData = 12; // length, type, checksum

quint32 checksum(const char *bytes, qsizetype count)
{
    quint32 sum = ~quint32{0};
    for (qsizetype i = 0; i < count; ++i) {
        sum ^= static_cast<unsigned char>(bytes[i]);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xedb88320 : 0);
    }
    return ~sum;
}

// As whoever means harm would: else what has been changed in a PNG is seldom looked at.
void setChecksums(QByteArray &png)
{
    for (qsizetype at = kBeforeChunks; png.size() - at >= kAroundData;) {
        const qsizetype length = qFromBigEndian<quint32>(png.constData() + at);
        if (length > png.size() - at - kAroundData)
            return;
        char *const type = png.data() + at + 4;
        qToBigEndian(checksum(type, 4 + length), type + 4 + length);
        at += kAroundData + length;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (bytes.startsWith("\x89PNG"))
        setChecksums(bytes);
    Failure failure;
    const QImage still = stillIn(bytes, failure);
    if (still.isNull() != failure.has_value() || still.width() > 8192 || still.height() > 8192
        || (bytes.startsWith("\x89PNG") && !still.textKeys().isEmpty()))
        std::abort();
    return 0;
}
