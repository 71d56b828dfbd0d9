#include "platform/video/ffmpeg/ColourDescription.h"

namespace corvella::ffmpeg {

namespace {

constexpr int kHighDefinitionLines = 720;

bool isFullRangeFormat(int format)
{
    return format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_YUVJ422P
        || format == AV_PIX_FMT_YUVJ444P || format == AV_PIX_FMT_YUVJ440P
        || format == AV_PIX_FMT_YUVJ411P;
}

ColourMatrix untaggedMatrix(const AVFrame &frame)
{
    const bool isVideoLike = colourRange(frame) == ColourRange::limited;
    return isVideoLike && frame.height >= kHighDefinitionLines ? ColourMatrix::bt709
                                                               : ColourMatrix::bt601;
}

} // namespace

ColourMatrix colourMatrix(const AVFrame &frame)
{
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return ColourMatrix::bt709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
        return ColourMatrix::bt601;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return ColourMatrix::bt2020;
    default:
        return untaggedMatrix(frame);
    }
}

ColourRange colourRange(const AVFrame &frame)
{
    if (frame.color_range == AVCOL_RANGE_JPEG || isFullRangeFormat(frame.format))
        return ColourRange::full;
    return ColourRange::limited;
}

} // namespace corvella::ffmpeg
