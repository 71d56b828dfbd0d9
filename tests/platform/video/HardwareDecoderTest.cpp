#include "platform/video/ffmpeg/HardwareDecoder.h"

#include "FrameMark.h"
#include "platform/video/ffmpeg/ClipDecoder.h"
#include "platform/video/ffmpeg/PictureConverter.h"
#include "support/CapturedLog.h"
#include "support/QtPrinting.h"
#include "support/ShownPicture.h"
#include "support/TestClip.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <memory>

namespace corvella {
namespace {

using Device = HardwareDecoder::Device;

const QString kFirstNode = QStringLiteral("/dev/dri/renderD128");
const QString kSecondNode = QStringLiteral("/dev/dri/renderD129");
const QString kNvidia = QStringLiteral("/dev/nvidia0");

ffmpeg::Frame asItIs(ffmpeg::Frame frame)
{
    return frame;
}

std::shared_ptr<uint8_t> onTheHeap(size_t bytes)
{
    return {static_cast<uint8_t *>(av_malloc(bytes)), av_free};
}

// A VAAPI device without a driver behind it: it can be attached, and refuses every stream.
ffmpeg::Buffer refusingDevice(const Device &device)
{
    return ffmpeg::Buffer(av_hwdevice_ctx_alloc(device.type));
}

TEST(HardwareDecoder, TriesEachRenderNodeThenNvidia)
{
    EXPECT_EQ(HardwareDecoder::candidates({kNvidia, kFirstNode, kSecondNode}),
              (std::vector<Device>{{AV_HWDEVICE_TYPE_VAAPI, kFirstNode},
                                   {AV_HWDEVICE_TYPE_VAAPI, kSecondNode},
                                   {AV_HWDEVICE_TYPE_CUDA, {}}}));
    EXPECT_TRUE(HardwareDecoder::candidates({}).empty());
    EXPECT_TRUE(HardwareDecoder::candidates({QStringLiteral("/dev/video0")}).empty());
}

TEST(HardwareDecoder, TakesTheFirstDeviceThatOpens)
{
    QStringList tried;
    const auto open = [&tried](const Device &device) {
        tried << device.node;
        return device.node == kSecondNode ? refusingDevice(device) : nullptr;
    };
    const HardwareDecoder decoder({kFirstNode, kSecondNode, kNvidia}, {open, asItIs});
    EXPECT_EQ(tried, (QStringList{kFirstNode, kSecondNode}));
    const AVCodec *software = avcodec_find_decoder(AV_CODEC_ID_H264);
    EXPECT_EQ(decoder.decoderInsteadOf(*software), software);
}

TEST(HardwareDecoder, IsNoneWithoutADevice)
{
    const AVCodec *software = avcodec_find_decoder(AV_CODEC_ID_H264);
    const auto never = [](const Device &) -> ffmpeg::Buffer {
        ADD_FAILURE() << "there is nothing to open";
        return nullptr;
    };
    EXPECT_EQ(HardwareDecoder({}, {never, asItIs}).decoderInsteadOf(*software), nullptr);
}

TEST(HardwareDecoder, IsADecoderOfItsOwnWhereAVideoNodeIs)
{
    const AVCodec *own = avcodec_find_decoder_by_name("h264_v4l2m2m");
    ASSERT_NE(own, nullptr) << "Debian's FFmpeg has V4L2 decoders";
    const HardwareDecoder decoder({QStringLiteral("/dev/video0")}, {refusingDevice, asItIs});
    EXPECT_EQ(decoder.decoderInsteadOf(*avcodec_find_decoder(AV_CODEC_ID_H264)), own);
}

TEST(HardwareDecoder, IsNoCamera)
{
    v4l2_capability node{};
    node.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    EXPECT_FALSE(HardwareDecoder::mayDecode(node));
    node.capabilities |= V4L2_CAP_VIDEO_M2M_MPLANE;
    EXPECT_TRUE(HardwareDecoder::mayDecode(node));
    // Another node of the same device is one.
    node.capabilities |= V4L2_CAP_DEVICE_CAPS;
    node.device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    EXPECT_FALSE(HardwareDecoder::mayDecode(node));
    node.device_caps = V4L2_CAP_VIDEO_M2M | V4L2_CAP_STREAMING;
    EXPECT_TRUE(HardwareDecoder::mayDecode(node));
}

// A clip of ten frames that carry their numbers.
class HardwareFallback : public testing::Test
{
protected:
    void SetUp() override
    {
        m_path = m_dir.filePath(QStringLiteral("clip.mp4"));
        test::TestClip{}.write(m_path);
    }

    // The numbers of the frames of two laps; -1 for an end.
    std::vector<int> played(const HardwareDecoder &hardware) const
    {
        FileDescriptor file(::open(m_path.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC));
        auto opened = ClipDecoder::open(std::move(file), hardware);
        auto *clip = std::get_if<ClipDecoder>(&opened);
        PictureConverter converter(onTheHeap);
        std::vector<int> numbers;
        for (int ends = 0; clip && ends < 2;) {
            auto next = clip->next();
            if (const auto *frame = std::get_if<DecodedFrame>(&next)) {
                const Picture picture = converter.convert(*frame->frame, {}, QSize(320, 240));
                const QImage image = test::shown(picture, QSize(320, 240));
                numbers.push_back(sun::readFrameMark(image, image.rect()).value_or(-2));
                EXPECT_NEAR(static_cast<double>(frame->start.count()), numbers.back() * 1e9 / 30,
                            1);
            } else if (std::holds_alternative<EndOfLap>(next) && clip->rewind()) {
                numbers.push_back(-1);
                ++ends;
            } else {
                ADD_FAILURE() << "the clip failed";
                break;
            }
        }
        return numbers;
    }

    const std::vector<int> kTwoLaps{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1,
                                    0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1};
    QTemporaryDir m_dir;
    QString m_path;
};

TEST_F(HardwareFallback, PlaysWhereNoDeviceOpens)
{
    const auto fails = [](const Device &) { return ffmpeg::Buffer(); };
    EXPECT_EQ(played(HardwareDecoder({kFirstNode, kNvidia}, {fails, asItIs})), kTwoLaps);
}

TEST_F(HardwareFallback, PlaysWhereNoVideoNodeDecodes)
{
    const HardwareDecoder hardware({QStringLiteral("/dev/video0")}, {refusingDevice, asItIs});
    EXPECT_EQ(played(hardware), kTwoLaps);
}

TEST_F(HardwareFallback, PlaysWhereTheDeviceRefusesTheStream)
{
    EXPECT_EQ(played(HardwareDecoder({kFirstNode}, {refusingDevice, asItIs})), kTwoLaps);
}

// No frame is missing and none comes twice, wherever in the lap the device goes.
TEST_F(HardwareFallback, GoesOnInSoftwareWhereTheDeviceFails)
{
    for (int last = 0; last <= 12; ++last) {
        int downloads = 0;
        const auto failing = [&](ffmpeg::Frame frame) {
            return downloads++ < last ? std::move(frame) : nullptr;
        };
        EXPECT_EQ(played(HardwareDecoder({kFirstNode}, {refusingDevice, failing})), kTwoLaps)
            << "after " << last << " frames";
        EXPECT_EQ(downloads, last + 1) << "software has nothing to do with the device";
    }
}

TEST_F(HardwareFallback, IsSaidOnceForAClip)
{
    test::CapturedLog log;
    (void)played(HardwareDecoder({kFirstNode}, {refusingDevice, asItIs}));
    EXPECT_EQ(log.messages(), QStringList{QStringLiteral("decoder: software")});
}

TEST_F(HardwareFallback, NothingIsSaidWhereThereIsNoChoice)
{
    test::CapturedLog log;
    (void)played(HardwareDecoder({}, {refusingDevice, asItIs}));
    EXPECT_EQ(log.messages(), QStringList());
}

} // namespace
} // namespace corvella
