// Turns decoded frames into the pictures a renderer asked for. Included by this folder's sources
// only; one converter for each clip, since it keeps scaling tables.
#pragma once

#include "platform/video/Picture.h"
#include "platform/video/ffmpeg/FFmpegHandles.h"
#include "platform/video/ffmpeg/PlaneEnlarger.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

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

    // A null picture when memory is short or the pixel format is beyond conversion.
    [[nodiscard]] Picture convert(const AVFrame &frame, const Presentation &presentation,
                                  const PictureRequest &request);

private:
    [[nodiscard]] Picture planes(const AVFrame &frame);
    [[nodiscard]] Picture scaled(const AVFrame &frame, AVPixelFormat format, QSize size,
                                 const Allocate &allocate);
    // The rgb32 picture, turned clockwise.
    [[nodiscard]] Picture turned(const Picture &picture, int quarterTurns);
    // Prepares m_scaler for pixels as the frame's, of size `from`.
    [[nodiscard]] bool prepareScaler(const AVFrame &frame, QSize from, AVPixelFormat format,
                                     QSize size);
    // Enlarges the frame's three planes strip by strip and has m_scaler convert them into `data`.
    void enlarge(const AVFrame &frame, QSize size, uint8_t *const data[4], const int strides[4]);

    const Allocate m_allocate;
    ffmpeg::Scaler m_scaler;
    std::optional<PlaneEnlarger> m_luma;
    std::optional<PlaneEnlarger> m_chroma;
    std::vector<uint8_t> m_strip;
};

} // namespace corvella
