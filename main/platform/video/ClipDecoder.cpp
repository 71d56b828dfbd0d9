#include "platform/video/ClipDecoder.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

using std::chrono::nanoseconds;

// A clip with this many unreadable packets one after the other is broken beyond showing.
constexpr int kMaxBadPacketsInARow = 30;
// Where neither frame nor stream tells how long a frame lasts.
constexpr nanoseconds kFallbackDuration{1'000'000'000 / 30};
// Beyond this a single core may not keep up; below it more threads only cost memory and delay.
constexpr qint64 kSingleThreadPixels = 2048 * 2048;
constexpr int kLargeClipThreads = 4;

QString errorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}

int isCancelled(void *flag)
{
    return static_cast<const std::atomic_bool *>(flag)->load() ? 1 : 0;
}

nanoseconds toTime(int64_t timestamp, AVRational unit)
{
    return nanoseconds(av_rescale_q(timestamp, unit, AVRational{1, 1'000'000'000}));
}

int streamQuarterTurns(const AVStream &stream)
{
    const uint8_t *matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!matrix)
        return 0;
    // The matrix tells a counter-clockwise angle in degrees; turns here are clockwise.
    const double angle = av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix));
    if (std::isnan(angle))
        return 0;
    return ((static_cast<int>(std::lround(-angle / 90.0)) % 4) + 4) % 4;
}

// Whether the header has told what is needed to decode, as an MP4's does. Else libavformat finds
// out by decoding a dozen pictures, which cost 12 ms of the built-in clip, each time that it was
// opened.
bool isDescribed(const AVFormatContext &context)
{
    for (unsigned i = 0; i < context.nb_streams; ++i) {
        const AVCodecParameters &stream = *context.streams[i]->codecpar;
        if (stream.codec_type == AVMEDIA_TYPE_VIDEO)
            return stream.width > 0 && stream.extradata_size > 0
                && context.streams[i]->nb_frames > 0;
    }
    return false;
}

// One large clip decodes on several threads; small ones on one, whose first frame is out at once.
int threadCount(qint64 pixels)
{
    return pixels <= kSingleThreadPixels ? 1 : kLargeClipThreads;
}

} // namespace

std::variant<ClipDecoder, ClipError> ClipDecoder::open(const QString &path,
                                                       const std::atomic_bool &cancelled)
{
    av_log_set_level(AV_LOG_QUIET); // what matters is logged once, in our own words
    if (QFileInfo(path).size() == 0 && QFileInfo::exists(path))
        return ClipError{QStringLiteral("the file is empty")};

    AVFormatContext *context = avformat_alloc_context();
    if (!context)
        return ClipError{QStringLiteral("out of memory")};
    context->interrupt_callback = {isCancelled, const_cast<std::atomic_bool *>(&cancelled)};
    // "file:" keeps a name with a colon from being taken for another protocol.
    const QByteArray url = "file:" + QFile::encodeName(path);
    if (const int code = avformat_open_input(&context, url.constData(), nullptr, nullptr); code < 0)
        return ClipError{errorText(code)}; // avformat_open_input has freed the context

    ClipDecoder clip;
    clip.m_format.reset(context);
    if (!isDescribed(*context)) {
        if (const int code = avformat_find_stream_info(context, nullptr); code < 0)
            return ClipError{errorText(code)};
    }
    const AVCodec *codec = nullptr;
    const int index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (index < 0 || !codec)
        return ClipError{QStringLiteral("no video stream in it")};
    clip.m_stream = context->streams[index];
    for (unsigned i = 0; i < context->nb_streams; ++i)
        context->streams[i]->discard =
            static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;

    const AVCodecParameters &parameters = *clip.m_stream->codecpar;
    const qint64 pixels = qint64{parameters.width} * parameters.height;
    if (pixels <= 0)
        return ClipError{QStringLiteral("its picture has no size")};
    if (pixels > kMaxPixels)
        return ClipError{QStringLiteral("a picture of %1 x %2 is too large")
                             .arg(parameters.width)
                             .arg(parameters.height)};

    clip.m_codec.reset(avcodec_alloc_context3(codec));
    clip.m_packet.reset(av_packet_alloc());
    if (!clip.m_codec || !clip.m_packet)
        return ClipError{QStringLiteral("out of memory")};
    avcodec_parameters_to_context(clip.m_codec.get(), &parameters);
    clip.m_codec->pkt_timebase = clip.m_stream->time_base;
    clip.m_codec->max_pixels = kMaxPixels; // a stream may change its size on the way
    clip.m_codec->thread_count = threadCount(pixels);
    if (const int code = avcodec_open2(clip.m_codec.get(), codec, nullptr); code < 0)
        return ClipError{errorText(code)};
    clip.m_quarterTurns = streamQuarterTurns(*clip.m_stream);
    return clip;
}

std::variant<DecodedFrame, EndOfLap, ClipError> ClipDecoder::next()
{
    while (true) {
        ffmpeg::Frame frame(av_frame_alloc());
        if (!frame)
            return ClipError{QStringLiteral("out of memory")};
        const int code = avcodec_receive_frame(m_codec.get(), frame.get());
        if (code == 0)
            return timed(std::move(frame));
        if (code == AVERROR_EOF)
            return endOfLap();
        if (code != AVERROR(EAGAIN) && ++m_badPacketsInARow > kMaxBadPacketsInARow)
            return ClipError{errorText(code)};
        if (!feed() && m_badPacketsInARow > kMaxBadPacketsInARow)
            return ClipError{QStringLiteral("its pictures cannot be decoded")};
    }
}

bool ClipDecoder::feed()
{
    if (m_draining)
        return false;
    av_packet_unref(m_packet.get());
    const int code = av_read_frame(m_format.get(), m_packet.get());
    if (code < 0) {
        m_draining = true;
        avcodec_send_packet(m_codec.get(), nullptr);
        return true;
    }
    if (m_packet->stream_index != m_stream->index)
        return true;
    ++m_packetsInLap;
    if (avcodec_send_packet(m_codec.get(), m_packet.get()) == 0) {
        m_badPacketsInARow = 0;
        return true;
    }
    return ++m_badPacketsInARow <= kMaxBadPacketsInARow;
}

std::variant<DecodedFrame, EndOfLap, ClipError> ClipDecoder::endOfLap()
{
    if (m_framesInLap == 0)
        return ClipError{QStringLiteral("no picture in it can be decoded")};
    if (m_packetsInLap >= m_stream->nb_frames)
        return EndOfLap{};
    return EndOfLap{QStringLiteral("breaks off after %1 of %2 pictures")
                        .arg(m_packetsInLap)
                        .arg(m_stream->nb_frames)};
}

DecodedFrame ClipDecoder::timed(ffmpeg::Frame frame)
{
    const AVRational unit = m_stream->time_base;
    DecodedFrame decoded;
    decoded.duration = frame->pkt_duration > 0 ? toTime(frame->pkt_duration, unit) : m_lastDuration;
    if (decoded.duration <= nanoseconds(0)) {
        const AVRational rate = av_guess_frame_rate(m_format.get(), m_stream, frame.get());
        decoded.duration = rate.num > 0 ? toTime(1, av_inv_q(rate)) : kFallbackDuration;
    }
    if (frame->best_effort_timestamp == AV_NOPTS_VALUE) {
        decoded.start = m_framesInLap == 0 ? nanoseconds(0) : m_lastStart + m_lastDuration;
    } else {
        if (!m_firstTimestamp)
            m_firstTimestamp = frame->best_effort_timestamp;
        decoded.start = toTime(frame->best_effort_timestamp - *m_firstTimestamp, unit);
    }
    // A file's own times are not to be trusted to run forwards.
    decoded.start = std::max(decoded.start, m_framesInLap == 0 ? nanoseconds(0) : m_lastStart);
    m_lastStart = decoded.start;
    m_lastDuration = decoded.duration;
    ++m_framesInLap;
    decoded.frame = std::move(frame);
    return decoded;
}

bool ClipDecoder::rewind()
{
    avcodec_flush_buffers(m_codec.get());
    const int64_t start = m_stream->start_time == AV_NOPTS_VALUE ? 0 : m_stream->start_time;
    if (avformat_seek_file(m_format.get(), m_stream->index, INT64_MIN, start, start, 0) < 0
        && av_seek_frame(m_format.get(), m_stream->index, 0, AVSEEK_FLAG_BYTE) < 0)
        return false;
    m_firstTimestamp.reset();
    m_lastStart = m_lastDuration = nanoseconds(0);
    m_packetsInLap = 0;
    m_framesInLap = 0;
    m_badPacketsInARow = 0;
    m_draining = false;
    return true;
}

nanoseconds ClipDecoder::announcedLength() const
{
    return m_stream->duration > 0 ? toTime(m_stream->duration, m_stream->time_base)
                                  : nanoseconds(0);
}

double ClipDecoder::pixelAspect(const AVFrame &frame) const
{
    const AVRational aspect =
        av_guess_sample_aspect_ratio(m_format.get(), m_stream, const_cast<AVFrame *>(&frame));
    return aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
}

} // namespace corvella
