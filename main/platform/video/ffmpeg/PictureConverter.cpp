#include "platform/video/ffmpeg/PictureConverter.h"

#include "platform/video/ffmpeg/ColourDescription.h"

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

constexpr AVPixelFormat kFormat = AV_PIX_FMT_YUV420P;
constexpr int kAlignment = 32; // bytes; what the scaler's vector code likes best

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

// A picture's planes in memory of its own; a null picture where there is none.
struct Target
{
    Picture picture;
    uint8_t *data[4] = {};
    int strides[4] = {};

    Target(QSize size, const PictureConverter::Allocate &allocate)
    {
        const int bytes =
            av_image_get_buffer_size(kFormat, size.width(), size.height(), kAlignment);
        const std::shared_ptr<uint8_t> pixels =
            bytes > 0 ? allocate(static_cast<size_t>(bytes) + kAlignment) : nullptr;
        if (!pixels)
            return;
        av_image_fill_arrays(data, strides, pixels.get(), kFormat, size.width(), size.height(),
                             kAlignment);
        for (size_t i = 0; i < picture.planes.size(); ++i)
            picture.planes[i] = {data[i], strides[i], i == 0 ? size : chromaSize(size)};
        picture.storage = pixels;
    }
};

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
                                  QSize bounds)
{
    const QSizeF shown = shownSize(frame, presentation);
    const bool isUpright = presentation.quarterTurns % 2 == 0;
    const QSize fitted = fittedRect(shown, QRect(QPoint(0, 0), bounds)).size();
    const QSize size =
        QSize(frame.width, frame.height).boundedTo(isUpright ? fitted : fitted.transposed());
    Picture picture = presentation.quarterTurns == 0
        ? scaled(frame, size, m_allocate)
        : turned(scaled(frame, size, onTheHeap), presentation.quarterTurns);
    picture.displaySize = shown;
    picture.matrix = ffmpeg::colourMatrix(frame);
    picture.range = ffmpeg::colourRange(frame);
    return picture;
}

Picture PictureConverter::scaled(const AVFrame &frame, QSize size, const Allocate &allocate)
{
    const bool isAsItIs =
        size == QSize(frame.width, frame.height) && plainFormat(frame.format) == kFormat;
    if (size.isEmpty() || (!isAsItIs && !prepareScaler(frame, size)))
        return {};
    Target target(size, allocate);
    if (target.picture.isNull())
        return {};
    if (isAsItIs)
        av_image_copy(target.data, target.strides, const_cast<const uint8_t **>(frame.data),
                      frame.linesize, kFormat, size.width(), size.height());
    else
        sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height, target.data,
                  target.strides);
    return std::move(target.picture);
}

Picture PictureConverter::turned(const Picture &picture, int quarterTurns)
{
    if (picture.isNull())
        return {};
    const QSize size = picture.size();
    Target target(quarterTurns % 2 == 0 ? size : size.transposed(), m_allocate);
    if (target.picture.isNull())
        return {};
    for (size_t i = 0; i < picture.planes.size(); ++i) {
        const Plane &from = picture.planes[i];
        const QSize to = target.picture.planes[i].size;
        const ptrdiff_t stride = target.strides[i];
        // Where sample (0, 0) goes, and how far it is from there to those right of and below it.
        const ptrdiff_t starts[] = {0, to.width() - 1, stride * (to.height() - 1) + to.width() - 1,
                                    stride * (to.height() - 1)};
        const ptrdiff_t rights[] = {1, stride, -1, -stride};
        const ptrdiff_t belows[] = {stride, -1, -stride, 1};
        uint8_t *const start = target.data[i] + starts[quarterTurns];
        for (int y = 0; y < from.size.height(); ++y) {
            const uint8_t *row = from.data + ptrdiff_t{y} * from.bytesPerLine;
            for (int x = 0; x < from.size.width(); ++x)
                start[x * rights[quarterTurns] + y * belows[quarterTurns]] = row[x];
        }
    }
    return std::move(target.picture);
}

bool PictureConverter::prepareScaler(const AVFrame &frame, QSize size)
{
    m_scaler.reset(sws_getCachedContext(m_scaler.release(), frame.width, frame.height,
                                        plainFormat(frame.format), size.width(), size.height(),
                                        kFormat, SWS_BILINEAR, nullptr, nullptr, nullptr));
    if (!m_scaler)
        return false;
    // The stream's own coding is kept; RGB is coded so that it fits what the picture says it is.
    const int *matrix = sws_getCoefficients(scalerMatrix(ffmpeg::colourMatrix(frame)));
    const int range = ffmpeg::colourRange(frame) == ColourRange::full ? 1 : 0;
    constexpr int kUnchanged = 1 << 16;
    sws_setColorspaceDetails(m_scaler.get(), matrix, range, matrix, range, 0, kUnchanged,
                             kUnchanged);
    return true;
}

} // namespace corvella
