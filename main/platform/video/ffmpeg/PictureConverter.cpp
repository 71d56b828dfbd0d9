#include "platform/video/ffmpeg/PictureConverter.h"

#include "platform/video/ffmpeg/ColourDescription.h"

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

constexpr int kAlignment = 32; // bytes; what the scaler's vector code likes best
// Rows that are enlarged, then converted: few enough to stay in the cache between the two.
constexpr int kStripRows = 16;
static_assert(kStripRows % 2 == 0, "chroma rows come in pairs of picture rows");
static_assert(kAlignment % PlaneEnlarger::kBlock == 0, "rows are written in whole blocks");

// The old "J" formats are the plain ones with the range in their name; the range travels apart
// here.
AVPixelFormat plainFormat(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    default:
        return static_cast<AVPixelFormat>(format);
    }
}

int scalerMatrix(ColourMatrix matrix)
{
    switch (matrix) {
    case ColourMatrix::bt601:
        return SWS_CS_ITU601;
    case ColourMatrix::bt709:
        return SWS_CS_ITU709;
    case ColourMatrix::bt2020:
        return SWS_CS_BT2020;
    }
    return SWS_CS_ITU709;
}

// A chroma plane's size for a picture of this size.
QSize halved(QSize size)
{
    return {(size.width() + 1) / 2, (size.height() + 1) / 2};
}

QSizeF shownSize(const AVFrame &frame, const PictureConverter::Presentation &presentation)
{
    const QSizeF upright(frame.width * presentation.pixelAspect, frame.height);
    return presentation.quarterTurns % 2 == 0 ? upright : upright.transposed();
}

std::shared_ptr<uint8_t> onTheHeap(size_t bytes)
{
    return {static_cast<uint8_t *>(av_malloc(bytes)), av_free};
}

} // namespace

Picture PictureConverter::convert(const AVFrame &frame, const Presentation &presentation,
                                  const PictureRequest &request)
{
    const QSizeF shown = shownSize(frame, presentation);
    Picture picture;
    if (request.layout == PixelLayout::yuv420) {
        picture = planes(frame);
        picture.quarterTurns = presentation.quarterTurns;
    } else {
        const QSize fitted = fittedRect(shown, QRect(QPoint(0, 0), request.bounds)).size();
        const bool upright = presentation.quarterTurns % 2 == 0;
        picture = presentation.quarterTurns == 0
            ? scaled(frame, AV_PIX_FMT_BGRA, fitted, m_allocate)
            : turned(
                scaled(frame, AV_PIX_FMT_BGRA, upright ? fitted : fitted.transposed(), onTheHeap),
                presentation.quarterTurns);
        picture.layout = PixelLayout::rgb32;
    }
    picture.displaySize = shown;
    picture.matrix = ffmpeg::colourMatrix(frame);
    picture.range = ffmpeg::colourRange(frame);
    return picture;
}

Picture PictureConverter::planes(const AVFrame &frame)
{
    Picture picture =
        scaled(frame, AV_PIX_FMT_YUV420P, QSize(frame.width, frame.height), m_allocate);
    picture.layout = PixelLayout::yuv420;
    return picture;
}

Picture PictureConverter::turned(const Picture &picture, int quarterTurns)
{
    if (picture.isNull())
        return {};
    const Plane &from = picture.planes[0];
    const int width = from.size.width();
    const int height = from.size.height();
    const QSize size = quarterTurns % 2 == 0 ? from.size : from.size.transposed();
    const auto stride = static_cast<ptrdiff_t>(size.width());
    const std::shared_ptr<uint8_t> pixels = m_allocate(
        static_cast<size_t>(stride) * static_cast<size_t>(size.height()) * sizeof(uint32_t));
    if (!pixels)
        return {};
    // Where pixel (0, 0) goes, and how far it is from there to those right of and below it.
    const ptrdiff_t starts[] = {0, height - 1, stride * height - 1, stride * (width - 1)};
    const ptrdiff_t rights[] = {1, stride, -1, -stride};
    const ptrdiff_t belows[] = {stride, -1, -stride, 1};
    auto *const to = reinterpret_cast<uint32_t *>(pixels.get()) + starts[quarterTurns];
    for (int y = 0; y < height; ++y) {
        const auto *row =
            reinterpret_cast<const uint32_t *>(from.data + ptrdiff_t{y} * from.bytesPerLine);
        for (int x = 0; x < width; ++x)
            to[x * rights[quarterTurns] + y * belows[quarterTurns]] = row[x];
    }
    Picture result;
    result.planes[0] = {pixels.get(), static_cast<int>(stride * ptrdiff_t{sizeof(uint32_t)}), size};
    result.storage = pixels;
    return result;
}

Picture PictureConverter::scaled(const AVFrame &frame, AVPixelFormat format, QSize size,
                                 const Allocate &allocate)
{
    const QSize from(frame.width, frame.height);
    const bool inStrips = format == AV_PIX_FMT_BGRA && size != from
        && plainFormat(frame.format) == AV_PIX_FMT_YUV420P && PlaneEnlarger::serves(from, size);
    const bool isAsItIs = size == from && plainFormat(frame.format) == format;
    if (size.isEmpty()
        || (!isAsItIs && !prepareScaler(frame, inStrips ? size : from, format, size)))
        return {};
    uint8_t *data[4] = {};
    int strides[4] = {};
    const int bytes = av_image_get_buffer_size(format, size.width(), size.height(), kAlignment);
    const std::shared_ptr<uint8_t> pixels =
        bytes > 0 ? allocate(static_cast<size_t>(bytes + kAlignment)) : nullptr;
    if (!pixels)
        return {};
    Picture picture;
    picture.storage = pixels;
    av_image_fill_arrays(data, strides, pixels.get(), format, size.width(), size.height(),
                         kAlignment);
    if (isAsItIs)
        av_image_copy(data, strides, const_cast<const uint8_t **>(frame.data), frame.linesize,
                      format, size.width(), size.height());
    else if (inStrips)
        enlarge(frame, size, data, strides);
    else
        sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height, data, strides);
    for (size_t i = 0; i < 3 && data[i]; ++i)
        picture.planes[i] = {data[i], strides[i], i == 0 ? size : halved(size)};
    return picture;
}

void PictureConverter::enlarge(const AVFrame &frame, QSize size, uint8_t *const data[4],
                               const int strides[4])
{
    const QSize from(frame.width, frame.height);
    if (!m_luma || m_luma->from() != from || m_luma->to() != size) {
        m_luma.emplace(from, size);
        m_chroma.emplace(halved(from), halved(size));
    }
    const int stride = FFALIGN(size.width(), kAlignment);
    m_strip.resize(static_cast<size_t>(stride) * kStripRows * 2);
    uint8_t *const luma = m_strip.data();
    uint8_t *const chroma[] = {luma + ptrdiff_t{stride} * kStripRows,
                               luma + ptrdiff_t{stride} * kStripRows * 3 / 2};
    const uint8_t *const planes[4] = {luma, chroma[0], chroma[1], nullptr};
    const int planeStrides[4] = {stride, stride, stride, 0};
    for (int y = 0; y < size.height(); y += kStripRows) {
        const int rows = std::min(kStripRows, size.height() - y);
        m_luma->writeRows(frame.data[0], frame.linesize[0], y, rows, luma, stride);
        for (size_t i = 0; i < 2; ++i)
            m_chroma->writeRows(frame.data[i + 1], frame.linesize[i + 1], y / 2, (rows + 1) / 2,
                                chroma[i], stride);
        sws_scale(m_scaler.get(), planes, planeStrides, y, rows, data, strides);
    }
}

bool PictureConverter::prepareScaler(const AVFrame &frame, QSize from, AVPixelFormat format,
                                     QSize size)
{
    m_scaler.reset(sws_getCachedContext(m_scaler.release(), from.width(), from.height(),
                                        plainFormat(frame.format), size.width(), size.height(),
                                        format, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!m_scaler)
        return false;
    // Planes keep the stream's own coding; only RGB decodes it.
    const int *matrix = sws_getCoefficients(scalerMatrix(ffmpeg::colourMatrix(frame)));
    const int range = ffmpeg::colourRange(frame) == ColourRange::full ? 1 : 0;
    constexpr int kUnchanged = 1 << 16;
    sws_setColorspaceDetails(m_scaler.get(), matrix, range, matrix, range, 0, kUnchanged,
                             kUnchanged);
    return true;
}

} // namespace corvella
