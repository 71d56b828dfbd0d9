// Turns decoded frames into pictures: planes of 8 bits, upright, and no larger than what shows
// them. Included by this folder's sources only; one converter for each clip, since it keeps scaling
// tables.
#pragma once

#include "platform/video/Picture.h"
#include "platform/video/ffmpeg/FFmpegHandles.h"

#include <functional>
#include <memory>

namespace corvella {

class PictureConverter
{
public:
    // How the frame is to be shown, as its stream tells it.
    struct Presentation
    {
        double pixelAspect = 1.0;
        int quarterTurns = 0; // clockwise
    };

    // Memory for the pixels of one picture, at least 32-byte aligned; null where there is none. It
    // is asked for once for each picture.
    using Allocate = std::function<std::shared_ptr<uint8_t>(size_t bytes)>;

    explicit PictureConverter(Allocate allocate)
        : m_allocate(std::move(allocate))
    {
    }

    // The frame as a picture for what is fitted into `bounds`, pixels: made smaller where it is
    // larger than that, but never larger. A null picture when memory is short or the pixel format
    // is beyond conversion.
    [[nodiscard]] Picture convert(const AVFrame &frame, const Presentation &presentation,
                                  QSize bounds);

private:
    [[nodiscard]] Picture scaled(const AVFrame &frame, QSize size, const Allocate &allocate);
    // The picture, turned clockwise.
    [[nodiscard]] Picture turned(const Picture &picture, int quarterTurns);
    [[nodiscard]] bool prepareScaler(const AVFrame &frame, QSize size);

    const Allocate m_allocate;
    ffmpeg::Scaler m_scaler;
};

} // namespace corvella
