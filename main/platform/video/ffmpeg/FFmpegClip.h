// A clip that FFmpeg reads, picture by picture as the renderer asked for them. Included by this
// folder's sources only.
#pragma once

#include "platform/video/VideoFrame.h"
#include "platform/video/ffmpeg/ClipDecoder.h"
#include "platform/video/ffmpeg/PictureConverter.h"

#include <memory>

namespace corvella {

class FFmpegClip
{
public:
    // Opens a clip file, whose pictures will lie where `allocate` says. `hardware` must outlive it.
    [[nodiscard]] static std::variant<std::unique_ptr<FFmpegClip>, ClipError>
    open(FileDescriptor file, const HardwareDecoder &hardware, PictureConverter::Allocate allocate);

    // The next picture, or why there is none; after an error there are no more. The last picture of
    // a lap is followed by the first of the next.
    [[nodiscard]] std::variant<VideoFrame, ClipError> next(QSize bounds);
    // Goes back to the clip's first picture, which comes next.
    void rewind();
    // The clip's length as the file announces it; 0 where it does not.
    [[nodiscard]] MediaTime announcedLength() const;

private:
    FFmpegClip(ClipDecoder decoder, PictureConverter::Allocate allocate)
        : m_decoder(std::move(decoder))
        , m_converter(std::move(allocate))
    {
    }
    [[nodiscard]] Picture converted(const AVFrame &frame, QSize bounds);

    ClipDecoder m_decoder;
    PictureConverter m_converter;
    // One frame is held back, because only the next one tells whether it was the lap's last.
    std::optional<DecodedFrame> m_held;
    bool m_rewinds = false; // before the next frame
};

} // namespace corvella
