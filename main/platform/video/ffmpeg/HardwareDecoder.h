// Decoding by the machine's own video circuits, where it has some. Included by this folder's
// sources only; used in the process that reads a clip, by one thread.
//
// The ways are FFmpeg's documented ones: VAAPI on a render node, CUDA (NVDEC), and V4L2 decoders,
// which are decoders of their own. Choice and fallbacks are tested; no device has been at hand to
// try the ways themselves.
#pragma once

#include "platform/video/ffmpeg/FFmpegHandles.h"

#include <QStringList>

#include <functional>
#include <linux/videodev2.h>
#include <vector>

namespace corvella {

class HardwareDecoder
{
public:
    struct Device
    {
        AVHWDeviceType type = AV_HWDEVICE_TYPE_NONE;
        QString node; // empty for the driver's own choice

        bool operator==(const Device &) const = default;
    };
    // The devices worth a try where these files exist, best first.
    [[nodiscard]] static std::vector<Device> candidates(const QStringList &deviceFiles);

    // Whether the video node may be a decoder, which a camera is not.
    [[nodiscard]] static bool mayDecode(const v4l2_capability &node);

    // How devices are reached. Both answer null where that fails.
    struct Driver
    {
        std::function<ffmpeg::Buffer(const Device &)> open;
        // The frame in the machine's memory; a frame that is there already as it is.
        std::function<ffmpeg::Frame(ffmpeg::Frame)> download;
    };
    // Takes the first candidate that opens.
    HardwareDecoder(const QStringList &deviceFiles, Driver driver);

    // What this machine has, looked for once in a process, and so for each clip; opening a GPU's
    // driver may take a while.
    [[nodiscard]] static const HardwareDecoder &ofThisMachine();

    // What its drivers open of /dev, files and folders.
    [[nodiscard]] static QStringList filesInUse();

    // Whether there is anything but software.
    [[nodiscard]] bool isThere() const { return m_context || m_mayHaveV4l2; }

    // The decoder to try instead of `software`, which may be that itself with a device attached to
    // it; null for none.
    [[nodiscard]] const AVCodec *decoderInsteadOf(const AVCodec &software) const;
    // Has a context that is not open yet decode on the device, if that is how its codec is served.
    void attachTo(AVCodecContext &context) const;
    // A V4L2 decoder that has come to its end cannot be flushed: it must be opened anew.
    [[nodiscard]] static bool isFlushable(const AVCodecContext &context);

    [[nodiscard]] ffmpeg::Frame download(ffmpeg::Frame frame) const
    {
        return m_driver.download(std::move(frame));
    }

private:
    Driver m_driver;
    Device m_device; // as m_context has it
    ffmpeg::Buffer m_context;
    bool m_mayHaveV4l2 = false;
};

// Says in the log what decodes.
void logDecoder(const AVCodecContext &context, const AVFrame &frame);

} // namespace corvella
