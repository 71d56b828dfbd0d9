#include "platform/pictures/PictureFile.h"

#include "platform/storage/BoundedFile.h"

#include <QBuffer>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>

namespace corvella {

namespace {

const QByteArray kPngStart("\x89PNG\r\n\x1a\n");
const QByteArray kJpegStart("\xff\xd8\xff");
// A JPEG's pixels come in one scan or some ten; each takes the time of the whole picture.
const QByteArray kScanStart("\xff\xda");
constexpr qsizetype kMostScans = 100;
constexpr int kLongestSide = 8192;                  // pixels; twice what there is of the Sun
constexpr qint64 kLargestStill = qint64{256} << 20; // bytes

QImage readBy(QImageReader &reader, Failure &failure)
{
    // Several large screens in one picture are more than Qt allows by itself.
    constexpr int kMegabytes = 1024;
    QImageReader::setAllocationLimit(kMegabytes);
    QImage picture = reader.read();
    if (picture.isNull())
        failure = reader.errorString();
    return picture;
}

// A PNG with its pixels alone: a few bytes of its texts can become gigabytes.
QByteArray pixelsOf(const QByteArray &png)
{
    constexpr qsizetype kAroundData = 12; // length, type, checksum
    QByteArray pixels = kPngStart;
    qsizetype next = 0;
    for (qsizetype at = pixels.size(); png.size() - at >= kAroundData; at = next) {
        next = at + kAroundData + qFromBigEndian<quint32>(png.constData() + at);
        const QByteArray type = png.mid(at + 4, 4);
        if (type == "IHDR" || type == "PLTE" || type == "tRNS" || type == "IDAT" || type == "IEND")
            pixels += png.mid(at, next - at);
    }
    return pixels;
}

QImage decoded(QByteArray bytes, const QByteArray &format, Failure &failure)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (std::max(size.width(), size.height()) <= kLongestSide)
        return readBy(reader, failure);
    failure =
        QStringLiteral("a picture of %1 x %2 is too large").arg(size.width()).arg(size.height());
    return {};
}

} // namespace

QImage readPicture(const QString &file, Failure &failure)
{
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    return readBy(reader, failure);
}

QImage readStill(const QString &file, Failure &failure)
{
    const BoundedRead read = readBounded(file, kLargestStill);
    if (read.status == ReadStatus::ok)
        return stillIn(read.bytes, failure);
    failure = read.reason;
    return {};
}

QImage stillIn(const QByteArray &bytes, Failure &failure)
{
    if (bytes.startsWith(kPngStart))
        return decoded(pixelsOf(bytes), "png", failure);
    if (bytes.startsWith(kJpegStart) && bytes.count(kScanStart) <= kMostScans)
        return decoded(bytes, "jpeg", failure);
    failure = QStringLiteral("neither a PNG nor an ordinary JPEG");
    return {};
}

} // namespace corvella
