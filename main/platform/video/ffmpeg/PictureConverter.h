// Turns decoded frames into the pictures a renderer asked for. Included by this folder's sources
// only; one converter per decoding thread, since it keeps scaling tables and a pool of pixel
// buffers.
#pragma once

#include "platform/video/Picture.h"
#include "platform/video/ffmpeg/FFmpegHandles.h"
#include "platform/video/ffmpeg/PlaneEnlarger.h"

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

    // A null picture when memory is short or the pixel format is beyond conversion.
    [[nodiscard]] Picture convert(const AVFrame &frame, const Presentation &presentation,
                                  const PictureRequest &request);

private:
    struct FreePool
    {
        void operator()(AVBufferPool *pool) const { av_buffer_pool_uninit(&pool); }
    };

    [[nodiscard]] Picture planes(const AVFrame &frame);
    [[nodiscard]] Picture scaled(const AVFrame &frame, AVPixelFormat format, QSize size);
    // Prepares m_scaler for pixels as the frame's, of size `from`.
    [[nodiscard]] bool prepareScaler(const AVFrame &frame, QSize from, AVPixelFormat format,
                                     QSize size);
    // Enlarges the frame's three planes strip by strip and has m_scaler convert them into `data`.
    void enlarge(const AVFrame &frame, QSize size, uint8_t *const data[4], const int strides[4]);
    // Pixels for one picture; buffers come back to the pool when the last picture over them is
    // gone.
    [[nodiscard]] std::shared_ptr<const void> allocate(int bytes, uint8_t **data);

    ffmpeg::Scaler m_scaler;
    std::optional<PlaneEnlarger> m_luma;
    std::optional<PlaneEnlarger> m_chroma;
    std::vector<uint8_t> m_strip;
    std::unique_ptr<AVBufferPool, FreePool> m_pool;
    int m_pooledBytes = 0;
};

} // namespace corvella
