// A clip that FFmpeg reads, picture by picture as the renderer asked for them. Included by this
// folder's sources only.
#pragma once

#include "platform/video/ClipSource.h"
#include "platform/video/ffmpeg/ClipDecoder.h"
#include "platform/video/ffmpeg/PictureConverter.h"

namespace corvella {

class FFmpegClip final : public ClipSource
{
public:
    // See openClip().
    [[nodiscard]] static OpenedClip open(const QString &path, const std::atomic_bool &cancelled);

    explicit FFmpegClip(ClipDecoder decoder)
        : m_decoder(std::move(decoder))
    {
    }

    [[nodiscard]] std::variant<VideoFrame, ClipError> next(const PictureRequest &request) override;
    void rewind() override;
    [[nodiscard]] MediaTime announcedLength() const override;

private:
    [[nodiscard]] Picture converted(const AVFrame &frame, const PictureRequest &request);

    ClipDecoder m_decoder;
    PictureConverter m_converter;
    // One frame is held back, because only the next one tells whether it was the lap's last.
    std::optional<DecodedFrame> m_held;
    bool m_rewinds = false; // before the next frame
};

} // namespace corvella
