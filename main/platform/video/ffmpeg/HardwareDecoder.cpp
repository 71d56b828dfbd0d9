#include "platform/video/ffmpeg/HardwareDecoder.h"

#include "log.h"

#include <QDir>

namespace corvella {

namespace {

const QString kV4l2Suffix = QStringLiteral("_v4l2m2m");

QStringList filesOfThisMachine()
{
    QStringList files;
    for (const auto &[folder, pattern] :
         {std::pair("/dev/dri", "renderD*"), {"/dev", "nvidia0"}, {"/dev", "video*"}}) {
        const QDir dir(QString::fromLatin1(folder));
        for (const QString &name : dir.entryList({QString::fromLatin1(pattern)}, QDir::System))
            files << dir.filePath(name);
    }
    return files;
}

ffmpeg::Buffer openDevice(const HardwareDecoder::Device &device)
{
    AVBufferRef *context = nullptr;
    const QByteArray node = device.node.toUtf8();
    av_hwdevice_ctx_create(&context, device.type, node.isEmpty() ? nullptr : node.constData(),
                           nullptr, 0);
    return ffmpeg::Buffer(context);
}

ffmpeg::Frame downloadFrame(ffmpeg::Frame frame)
{
    if (!frame->hw_frames_ctx)
        return frame;
    ffmpeg::Frame copy(av_frame_alloc());
    if (!copy || av_hwframe_transfer_data(copy.get(), frame.get(), 0) < 0
        || av_frame_copy_props(copy.get(), frame.get()) < 0)
        return nullptr;
    return copy;
}

// The pixel format in which this codec leaves pictures on such a device; none where it cannot use
// one.
AVPixelFormat formatOn(AVHWDeviceType type, const AVCodec &codec)
{
    for (int i = 0; const AVCodecHWConfig *config = avcodec_get_hw_config(&codec, i); ++i) {
        if (config->device_type == type
            && (config->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX) != 0)
            return config->pix_fmt;
    }
    return AV_PIX_FMT_NONE;
}

// The device's format where the stream's profile and size allow it, else the first one of software.
// FFmpeg asks again without the device's format when the device refuses after all.
AVPixelFormat chooseFormat(AVCodecContext *context, const AVPixelFormat *offered)
{
    const auto *device = reinterpret_cast<const AVHWDeviceContext *>(context->hw_device_ctx->data);
    const AVPixelFormat wanted = formatOn(device->type, *context->codec);
    AVPixelFormat software = AV_PIX_FMT_NONE;
    for (; *offered != AV_PIX_FMT_NONE; ++offered) {
        if (*offered == wanted)
            return wanted;
        const bool isSoftware =
            (av_pix_fmt_desc_get(*offered)->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0;
        if (isSoftware && software == AV_PIX_FMT_NONE)
            software = *offered;
    }
    return software;
}

} // namespace

std::vector<HardwareDecoder::Device> HardwareDecoder::candidates(const QStringList &deviceFiles)
{
    std::vector<Device> devices;
    for (const QString &file : deviceFiles) {
        if (file.startsWith(QLatin1String("/dev/dri/renderD")))
            devices.push_back({AV_HWDEVICE_TYPE_VAAPI, file});
    }
    if (deviceFiles.contains(QLatin1String("/dev/nvidia0")))
        devices.push_back({AV_HWDEVICE_TYPE_CUDA, {}});
    return devices;
}

HardwareDecoder::HardwareDecoder(const QStringList &deviceFiles, Driver driver)
    : m_driver(std::move(driver))
    , m_mayHaveV4l2(!deviceFiles.filter(QStringLiteral("/dev/video")).isEmpty())
{
    for (const Device &device : candidates(deviceFiles)) {
        m_device = device;
        m_context = m_driver.open(device);
        if (m_context)
            return;
    }
}

const HardwareDecoder &HardwareDecoder::ofThisMachine()
{
    static const HardwareDecoder decoder(filesOfThisMachine(), {openDevice, downloadFrame});
    return decoder;
}

const AVCodec *HardwareDecoder::decoderInsteadOf(const AVCodec &software) const
{
    if (m_context && formatOn(m_device.type, software) != AV_PIX_FMT_NONE)
        return &software;
    if (!m_mayHaveV4l2)
        return nullptr;
    const QString name = QString::fromLatin1(avcodec_get_name(software.id)) + kV4l2Suffix;
    return avcodec_find_decoder_by_name(name.toLatin1().constData());
}

void HardwareDecoder::attachTo(AVCodecContext &context) const
{
    if (!m_context || formatOn(m_device.type, *context.codec) == AV_PIX_FMT_NONE)
        return;
    context.hw_device_ctx = av_buffer_ref(m_context.get());
    if (context.hw_device_ctx)
        context.get_format = chooseFormat;
}

bool HardwareDecoder::isFlushable(const AVCodecContext &context)
{
    return !QString::fromLatin1(context.codec->name).endsWith(kV4l2Suffix);
}

void logDecoder(const AVCodecContext &context, const AVFrame &frame)
{
    QString kind = QString::fromLatin1(context.codec->name);
    if (frame.hw_frames_ctx) {
        const auto *frames = reinterpret_cast<const AVHWFramesContext *>(frame.hw_frames_ctx->data);
        kind = QString::fromLatin1(av_hwdevice_get_type_name(frames->device_ctx->type));
    } else if (HardwareDecoder::isFlushable(context)) {
        kind = QStringLiteral("software");
    }
    log(QStringLiteral("decoder: ") + kind);
}

} // namespace corvella
