#include "platform/video/ffmpeg/FFmpegClip.h"

namespace corvella {

std::variant<std::unique_ptr<FFmpegClip>, ClipError>
FFmpegClip::open(FileDescriptor file, const HardwareDecoder &hardware,
                 PictureConverter::Allocate allocate)
{
    auto opened = ClipDecoder::open(std::move(file), hardware);
    if (auto *error = std::get_if<ClipError>(&opened))
        return std::move(*error);
    return std::unique_ptr<FFmpegClip>(
        new FFmpegClip(std::get<ClipDecoder>(std::move(opened)), std::move(allocate)));
}

std::variant<VideoFrame, ClipError> FFmpegClip::next(QSize bounds)
{
    while (true) {
        if (std::exchange(m_rewinds, false) && !m_decoder.rewind())
            return ClipError{QStringLiteral("it cannot be played from the start again")};
        auto following = m_decoder.next();
        if (auto *error = std::get_if<ClipError>(&following))
            return std::move(*error);
        const std::optional<DecodedFrame> due = std::exchange(m_held, std::nullopt);
        VideoFrame next;
        if (auto *end = std::get_if<EndOfLap>(&following)) {
            m_rewinds = true;
            next.isLastOfLap = true;
            next.brokenOff = std::move(end->brokenOff);
        } else {
            m_held = std::get<DecodedFrame>(std::move(following));
        }
        if (!due)
            continue;
        next.picture = converted(*due->frame, bounds);
        if (next.picture.isNull())
            return ClipError{QStringLiteral("there is no memory for its pictures")};
        next.start = due->start;
        next.duration = due->duration;
        return next;
    }
}

void FFmpegClip::rewind()
{
    m_held.reset();
    m_rewinds = true;
}

Picture FFmpegClip::converted(const AVFrame &frame, QSize bounds)
{
    return m_converter.convert(frame, {m_decoder.pixelAspect(frame), m_decoder.quarterTurns()},
                               bounds);
}

MediaTime FFmpegClip::announcedLength() const
{
    return m_decoder.announcedLength();
}

} // namespace corvella
