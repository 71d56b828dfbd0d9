#include "ClipWriter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <array>
#include <cstdint>
#include <span>

namespace corvella::sun {

namespace {

// A fixed number of encoder threads: x264's output depends on it.
constexpr int kEncoderThreads = 4;

struct FormatDeleter
{
    void operator()(AVFormatContext *format) const
    {
        avio_closep(&format->pb);
        avformat_free_context(format);
    }
};

struct CodecDeleter
{
    void operator()(AVCodecContext *codec) const { avcodec_free_context(&codec); }
};

struct FrameDeleter
{
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};

struct PacketDeleter
{
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

struct ScalerDeleter
{
    void operator()(SwsContext *scaler) const { sws_freeContext(scaler); }
};

QString describe(const char *step, int code)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return QString::fromLatin1(step) + QStringLiteral(": ") + QString::fromLocal8Bit(text.data());
}

bool isFull(const ClipOptions &options)
{
    return options.range == ColourRange::Full;
}

} // namespace

struct ClipWriter::Encoder
{
    std::unique_ptr<AVFormatContext, FormatDeleter> format;
    std::unique_ptr<AVCodecContext, CodecDeleter> codec;
    std::unique_ptr<AVFrame, FrameDeleter> frame;
    std::unique_ptr<AVPacket, PacketDeleter> packet;
    std::unique_ptr<SwsContext, ScalerDeleter> scaler;
    AVStream *stream = nullptr; // owned by format

    QString open(const QString &path, const ClipOptions &options);

private:
    QString openCodec(const ClipOptions &options);
    QString openFile(const QByteArray &path, const ClipOptions &options);
    QString openScaler(const ClipOptions &options);
    void tagColours(const ClipOptions &options) const;
    bool tagRotation(int degrees) const;
};

QString ClipWriter::Encoder::open(const QString &path, const ClipOptions &options)
{
    if (options.width <= 0 || options.height <= 0)
        return QStringLiteral("the picture size must be positive");
    AVFormatContext *created = nullptr;
    const QByteArray name = path.toLocal8Bit();
    const int code = avformat_alloc_output_context2(&created, nullptr, "mp4", name.constData());
    if (code < 0)
        return describe("cannot start an MP4 file", code);
    format.reset(created);
    format->flags |= AVFMT_FLAG_BITEXACT;
    if (QString error = openCodec(options); !error.isEmpty())
        return error;
    if (QString error = openScaler(options); !error.isEmpty())
        return error;
    return openFile(name, options);
}

QString ClipWriter::Encoder::openCodec(const ClipOptions &options)
{
    const AVCodec *h264 = avcodec_find_encoder_by_name("libx264");
    if (!h264)
        return QStringLiteral("this FFmpeg has no libx264 encoder");
    codec.reset(avcodec_alloc_context3(h264));
    frame.reset(av_frame_alloc());
    packet.reset(av_packet_alloc());
    if (!codec || !frame || !packet)
        return QStringLiteral("out of memory");

    const bool odd = options.width % 2 != 0 || options.height % 2 != 0;
    codec->width = options.width;
    codec->height = options.height;
    codec->pix_fmt = odd ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV420P;
    codec->time_base = {1, options.framesPerSecond};
    codec->framerate = {options.framesPerSecond, 1};
    codec->gop_size = options.gopSize;
    codec->max_b_frames = options.bFrames;
    codec->thread_count = kEncoderThreads;
    codec->log_level_offset = AV_LOG_INFO - AV_LOG_ERROR; // its statistics are not for our users
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    tagColours(options);
    av_opt_set(codec->priv_data, "preset", options.preset.constData(), 0);
    av_opt_set_double(codec->priv_data, "crf", options.crf, 0);
    const int code = avcodec_open2(codec.get(), h264, nullptr);
    return code < 0 ? describe("cannot open the H.264 encoder", code) : QString();
}

void ClipWriter::Encoder::tagColours(const ClipOptions &options) const
{
    codec->color_range = isFull(options) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    switch (options.matrix) {
    case ColourMatrix::Bt709:
        codec->colorspace = AVCOL_SPC_BT709;
        codec->color_primaries = AVCOL_PRI_BT709;
        codec->color_trc = AVCOL_TRC_BT709;
        break;
    case ColourMatrix::Bt601:
        codec->colorspace = AVCOL_SPC_SMPTE170M;
        codec->color_primaries = AVCOL_PRI_SMPTE170M;
        codec->color_trc = AVCOL_TRC_SMPTE170M;
        break;
    case ColourMatrix::Unspecified:
        break;
    }
}

bool ClipWriter::Encoder::tagRotation(int degrees) const
{
    if (degrees % 360 == 0)
        return true;
    constexpr std::size_t kMatrixBytes = 9 * sizeof(std::int32_t);
    std::uint8_t *bytes = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, kMatrixBytes);
    if (!bytes)
        return false;
    // FFmpeg hands out this memory for a matrix of int32, aligned for it.
    av_display_rotation_set(static_cast<std::int32_t *>(static_cast<void *>(bytes)), degrees);
    return true;
}

QString ClipWriter::Encoder::openScaler(const ClipOptions &options)
{
    scaler.reset(sws_getContext(options.width, options.height, AV_PIX_FMT_RGB24, options.width,
                                options.height, codec->pix_fmt,
                                SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                                nullptr, nullptr));
    if (!scaler)
        return QStringLiteral("cannot convert pictures of this size");
    const int matrix = options.matrix == ColourMatrix::Bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    const int *coefficients = sws_getCoefficients(matrix);
    constexpr int kUnity = 1 << 16; // swscale's fixed point
    sws_setColorspaceDetails(scaler.get(), coefficients, 1, coefficients, isFull(options) ? 1 : 0,
                             0, kUnity, kUnity);
    frame->format = codec->pix_fmt;
    frame->width = options.width;
    frame->height = options.height;
    const int code = av_frame_get_buffer(frame.get(), 0);
    return code < 0 ? describe("cannot allocate a frame", code) : QString();
}

QString ClipWriter::Encoder::openFile(const QByteArray &path, const ClipOptions &options)
{
    stream = avformat_new_stream(format.get(), nullptr);
    if (!stream || avcodec_parameters_from_context(stream->codecpar, codec.get()) < 0
        || !tagRotation(options.rotationDegrees))
        return QStringLiteral("out of memory");
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = codec->framerate;
    int code = avio_open(&format->pb, path.constData(), AVIO_FLAG_WRITE);
    if (code < 0)
        return describe("cannot open the file for writing", code);
    if (options.fastStart)
        av_opt_set(format->priv_data, "movflags", "+faststart", 0);
    code = avformat_write_header(format.get(), nullptr);
    return code < 0 ? describe("cannot write the file's header", code) : QString();
}

ClipWriter::ClipWriter(std::unique_ptr<Encoder> encoder)
    : m_encoder(std::move(encoder))
{
}

ClipWriter::~ClipWriter() = default;

ClipWriter::Created ClipWriter::create(const QString &path, const ClipOptions &options)
{
    auto encoder = std::make_unique<Encoder>();
    if (QString error = encoder->open(path, options); !error.isEmpty())
        return {nullptr, error};
    return {std::unique_ptr<ClipWriter>(new ClipWriter(std::move(encoder))), QString()};
}

QString ClipWriter::errorText() const
{
    return m_error;
}

bool ClipWriter::fail(const char *step, int code)
{
    m_error = describe(step, code);
    return false;
}

bool ClipWriter::add(const QImage &image)
{
    AVFrame *frame = m_encoder->frame.get();
    if (image.width() != frame->width || image.height() != frame->height)
        return fail("the frame has another size than the clip", AVERROR(EINVAL));
    if (const int code = av_frame_make_writable(frame); code < 0)
        return fail("cannot reuse a frame", code);

    const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
    // swscale reads some bytes beyond the last pixel.
    QByteArray padded(rgb.sizeInBytes() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    std::copy_n(rgb.constBits(), rgb.sizeInBytes(), padded.data());
    const std::array<const std::uint8_t *, 1> source{
        reinterpret_cast<const std::uint8_t *>(padded.constData())};
    const std::array<int, 1> stride{static_cast<int>(rgb.bytesPerLine())};
    sws_scale(m_encoder->scaler.get(), source.data(), stride.data(), 0, rgb.height(), frame->data,
              frame->linesize);
    frame->pts = m_encoder->codec->frame_number;
    if (const int code = avcodec_send_frame(m_encoder->codec.get(), frame); code < 0)
        return fail("cannot encode a frame", code);
    return writeFinishedPackets();
}

bool ClipWriter::writeFinishedPackets()
{
    AVPacket *packet = m_encoder->packet.get();
    const AVCodecContext *codec = m_encoder->codec.get();
    int code = avcodec_receive_packet(m_encoder->codec.get(), packet);
    for (; code >= 0; code = avcodec_receive_packet(m_encoder->codec.get(), packet)) {
        packet->duration = 1;
        av_packet_rescale_ts(packet, codec->time_base, m_encoder->stream->time_base);
        packet->stream_index = m_encoder->stream->index;
        const int written = av_interleaved_write_frame(m_encoder->format.get(), packet);
        if (written < 0)
            return fail("cannot write to the file", written);
    }
    const bool drained = code == AVERROR(EAGAIN) || code == AVERROR_EOF;
    return drained || fail("cannot encode a frame", code);
}

bool ClipWriter::finish()
{
    if (const int code = avcodec_send_frame(m_encoder->codec.get(), nullptr); code < 0)
        return fail("cannot end the clip", code);
    if (!writeFinishedPackets())
        return false;
    if (const int code = av_write_trailer(m_encoder->format.get()); code < 0)
        return fail("cannot complete the file", code);
    const int code = avio_closep(&m_encoder->format->pb);
    return code >= 0 || fail("cannot close the file", code);
}

} // namespace corvella::sun
