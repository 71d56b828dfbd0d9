#include "platform/video/ffmpeg/HardwareDecoder.h"

#include "log.h"
#include "platform/storage/FileDescriptor.h"

#include <QDir>

#include <fcntl.h>
#include <sys/ioctl.h>

namespace corvella {

namespace {

const QString kV4l2Suffix = QStringLiteral("_v4l2m2m");

QStringList filesIn(const char *folder, const char *pattern)
{
    const QDir dir(QString::fromLatin1(folder));
    QStringList files;
    for (const QString &name : dir.entryList({QString::fromLatin1(pattern)}, QDir::System))
        files << dir.filePath(name);
    return files;
}

bool isV4l2Decoder(const QString &node)
{
    const FileDescriptor file(
        ::open(QFile::encodeName(node).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    v4l2_capability capability{};
    return ::ioctl(file.get(), VIDIOC_QUERYCAP, &capability) == 0
        && HardwareDecoder::mayDecode(capability);
}

// Asked once in a process: a camera wakes up when it is opened.
const QStringList &v4l2Decoders()
{
    static const QStringList decoders = [] {
        QStringList nodes = filesIn("/dev", "video*");
        nodes.removeIf([](const QString &node) { return !isV4l2Decoder(node); });
        return nodes;
    }();
    return decoders;
}

QStringList filesOfThisMachine()
{
    return filesIn("/dev/dri", "renderD*") + filesIn("/dev", "nvidia0") + v4l2Decoders();
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

bool HardwareDecoder::mayDecode(const v4l2_capability &node)
{
    // What a node can do; older drivers say only what the whole device can.
    const bool isOfNode = (node.capabilities & V4L2_CAP_DEVICE_CAPS) != 0;
    const uint32_t able = isOfNode ? node.device_caps : node.capabilities;
    return (able & (V4L2_CAP_VIDEO_M2M | V4L2_CAP_VIDEO_M2M_MPLANE)) != 0;
}

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

QStringList HardwareDecoder::filesInUse()
{
    // A driver has more of them than tell that there is a device.
    return QStringList{QStringLiteral("/dev/dri"), QStringLiteral("/dev/nvidia-caps")}
    + filesIn("/dev", "nvidia*") + v4l2Decoders();
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
