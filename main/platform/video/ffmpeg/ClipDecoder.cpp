#include "platform/video/ffmpeg/ClipDecoder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvella {

namespace {

using std::chrono::nanoseconds;

// A clip with this many unreadable packets one after the other is broken beyond showing.
constexpr int kMaxBadPacketsInARow = 30;
// Where neither frame nor stream tells how long a frame lasts.
constexpr nanoseconds kFallbackDuration{1'000'000'000 / 30};
// Beyond this a single core may not keep up; below it more threads only cost memory and delay.
constexpr qint64 kSingleThreadPixels = qint64{2048} * 2048;
constexpr int kLargeClipThreads = 4;

QString errorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}

// A clip is one file; one that names others, as a list of clips does, gets none of them.
int openNoOther(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
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

std::variant<ClipDecoder, ClipError> ClipDecoder::open(FileDescriptor file,
                                                       const HardwareDecoder &hardware)
{
    av_log_set_level(AV_LOG_QUIET); // what matters is logged once, in our own words
    ClipDecoder clip;
    clip.m_input = std::make_unique<FileInput>(std::move(file));
    AVFormatContext *context = clip.m_input->context() ? avformat_alloc_context() : nullptr;
    if (!context)
        return ClipError{QStringLiteral("out of memory")};
    context->pb = clip.m_input->context();
    context->io_open = openNoOther;
    if (const int code = avformat_open_input(&context, nullptr, nullptr, nullptr); code < 0)
        return ClipError{errorText(code)}; // avformat_open_input has freed the context
    clip.m_format.reset(context);
    if (!isDescribed(*context)) {
        if (const int code = avformat_find_stream_info(context, nullptr); code < 0)
            return ClipError{errorText(code)};
    }
    const int index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, &clip.m_software, 0);
    if (index < 0 || !clip.m_software)
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

    clip.m_packet.reset(av_packet_alloc());
    if (!clip.m_packet)
        return ClipError{QStringLiteral("out of memory")};
    const AVCodec *codec = hardware.decoderInsteadOf(*clip.m_software);
    clip.m_saysDecoder = codec != nullptr;
    if (codec && clip.openCodec(codec, &hardware) == 0)
        clip.m_hardware = &hardware;
    else if (const int code = clip.openCodec(clip.m_software, nullptr); code < 0)
        return ClipError{errorText(code)};
    clip.m_quarterTurns = streamQuarterTurns(*clip.m_stream);
    return clip;
}

int ClipDecoder::openCodec(const AVCodec *codec, const HardwareDecoder *hardware)
{
    const AVCodecParameters &parameters = *m_stream->codecpar;
    m_codec.reset(avcodec_alloc_context3(codec));
    if (!m_codec)
        return AVERROR(ENOMEM);
    avcodec_parameters_to_context(m_codec.get(), &parameters);
    m_codec->pkt_timebase = m_stream->time_base;
    m_codec->max_pixels = kMaxPixels; // a stream may change its size on the way
    m_codec->thread_count = threadCount(qint64{parameters.width} * parameters.height);
    if (hardware)
        hardware->attachTo(*m_codec);
    return avcodec_open2(m_codec.get(), codec, nullptr);
}

std::variant<DecodedFrame, EndOfLap, ClipError> ClipDecoder::next()
{
    auto next = decodeNext();
    // A device in trouble and a broken clip look the same; software tells one from the other.
    if (m_hardware && std::holds_alternative<ClipError>(next) && goOnInSoftware())
        return decodeNext();
    return next;
}

std::variant<DecodedFrame, EndOfLap, ClipError> ClipDecoder::decodeNext()
{
    const QString notDecoded = QStringLiteral("its pictures cannot be decoded");
    while (true) {
        ffmpeg::Frame frame(av_frame_alloc());
        if (!frame)
            return ClipError{QStringLiteral("out of memory")};
        const int code = avcodec_receive_frame(m_codec.get(), frame.get());
        if (code == 0) {
            if (std::exchange(m_saysDecoder, false))
                logDecoder(*m_codec, *frame);
            if (m_hardware)
                frame = m_hardware->download(std::move(frame));
            if (!frame)
                return ClipError{QStringLiteral("its pictures cannot be fetched from the device")};
            if (!wasSeen(*frame))
                return timed(std::move(frame));
            continue;
        }
        if (code == AVERROR_EOF)
            return endOfLap();
        if (code == AVERROR(EAGAIN) && m_draining)
            return ClipError{notDecoded}; // it wants more, and there is no more
        if (code != AVERROR(EAGAIN) && ++m_badPacketsInARow > patience())
            return ClipError{errorText(code)};
        if (!feed() && m_badPacketsInARow > patience())
            return ClipError{notDecoded};
    }
}

int ClipDecoder::patience() const
{
    return m_hardware ? 0 : kMaxBadPacketsInARow;
}

bool ClipDecoder::goOnInSoftware()
{
    m_hardware = nullptr;
    m_saysDecoder = true;
    if (openCodec(m_software, nullptr) < 0)
        return false;
    const std::optional<int64_t> seenUntil = m_lastTimestamp;
    if (!seenUntil)
        return rewind();
    m_seenUntil = seenUntil;
    m_badPacketsInARow = 0;
    m_draining = false;
    return seekTo(*seenUntil);
}

bool ClipDecoder::wasSeen(const AVFrame &frame) const
{
    return m_seenUntil && frame.best_effort_timestamp != AV_NOPTS_VALUE
        && frame.best_effort_timestamp <= *m_seenUntil;
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
    return ++m_badPacketsInARow <= patience();
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
        m_lastTimestamp = frame->best_effort_timestamp;
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
    m_firstTimestamp.reset();
    m_lastTimestamp.reset();
    m_seenUntil.reset();
    m_lastStart = m_lastDuration = nanoseconds(0);
    m_packetsInLap = 0;
    m_framesInLap = 0;
    m_badPacketsInARow = 0;
    m_draining = false;
    if (HardwareDecoder::isFlushable(*m_codec))
        avcodec_flush_buffers(m_codec.get());
    else if (openCodec(m_codec->codec, m_hardware) < 0)
        return goOnInSoftware();
    return seekTo(m_stream->start_time == AV_NOPTS_VALUE ? 0 : m_stream->start_time);
}

bool ClipDecoder::seekTo(int64_t timestamp)
{
    return avformat_seek_file(m_format.get(), m_stream->index, INT64_MIN, timestamp, timestamp, 0)
        >= 0
        || av_seek_frame(m_format.get(), m_stream->index, 0, AVSEEK_FLAG_BYTE) >= 0;
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
