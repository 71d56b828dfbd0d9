#include "platform/video/ReceivedFrame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace corvella {
namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr size_t kBytes = size_t{kWidth} * kHeight * 4 + 64;

class ReceivedFrame : public testing::Test
{
protected:
    // A sound reply about a picture in m_buffer.
    static ClipReply rgb()
    {
        ClipReply reply;
        reply.kind = ClipReply::Kind::picture;
        reply.length = 33'000'000;
        reply.start = 66'000'000;
        reply.planes[0] = {0, kWidth * 4, kWidth, kHeight};
        reply.displayWidth = kWidth;
        reply.displayHeight = kHeight;
        return reply;
    }
    static ClipReply yuv()
    {
        ClipReply reply = rgb();
        reply.layout = PixelLayout::yuv420;
        reply.planes[0] = {0, kWidth, kWidth, kHeight};
        reply.planes[1] = {kWidth * kHeight, kWidth / 2, kWidth / 2, kHeight / 2};
        reply.planes[2] = {kWidth * kHeight * 5 / 4, kWidth / 2, kWidth / 2, kHeight / 2};
        return reply;
    }
    [[nodiscard]] bool isShown(const ClipReply &reply,
                               PixelLayout layout = PixelLayout::rgb32) const
    {
        return !frameIn(reply, layout, m_buffer).picture.isNull();
    }

    FileDescriptor m_file;
    std::shared_ptr<const SharedPixels> m_buffer = SharedPixels::make(kBytes, m_file);
};

TEST_F(ReceivedFrame, IsWhatTheReaderSays)
{
    ClipReply reply = rgb();
    reply.planes[0].offset = 64;
    reply.quarterTurns = 3;
    reply.isLastOfLap = 1;
    reply.setText(QStringLiteral("breaks off after 3 of 4 pictures"));
    const VideoFrame frame = frameIn(reply, PixelLayout::rgb32, m_buffer);
    EXPECT_EQ(frame.picture.planes[0].data, m_buffer->data() + 64);
    EXPECT_EQ(frame.picture.planes[0].size, QSize(kWidth, kHeight));
    EXPECT_EQ(frame.picture.displaySize, QSizeF(kWidth, kHeight));
    EXPECT_EQ(frame.picture.quarterTurns, 3);
    EXPECT_EQ(frame.start, std::chrono::milliseconds(66));
    EXPECT_EQ(frame.duration, std::chrono::milliseconds(33));
    EXPECT_TRUE(frame.isLastOfLap);
    EXPECT_EQ(frame.brokenOff, QStringLiteral("breaks off after 3 of 4 pictures"));
    EXPECT_TRUE(isShown(yuv(), PixelLayout::yuv420));
}

TEST_F(ReceivedFrame, IsOfTheLayoutThatWasAskedFor)
{
    EXPECT_FALSE(isShown(rgb(), PixelLayout::yuv420));
    EXPECT_FALSE(isShown(yuv(), PixelLayout::rgb32));
}

TEST_F(ReceivedFrame, LiesInItsBuffer)
{
    const auto refused = [this](auto change) {
        ClipReply reply = rgb();
        change(reply.planes[0]);
        return !isShown(reply);
    };
    EXPECT_FALSE(refused([](auto &) {}));
    EXPECT_TRUE(refused([](auto &plane) { plane.offset = 68; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.offset = 2; })) << "words are aligned";
    EXPECT_TRUE(refused([](auto &plane) { plane.offset = ~uint64_t{3}; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.height = kHeight + 1; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.height = 0; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.height = -kHeight; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.width = 0; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.width = kWidth + 1; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.bytesPerLine += 4; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.bytesPerLine -= 4; }));
    EXPECT_TRUE(refused([](auto &plane) { plane.bytesPerLine = -plane.bytesPerLine; }));
    EXPECT_TRUE(refused([](auto &plane) {
        plane = {0, std::numeric_limits<int32_t>::max() - 3, 1 << 29, 1};
    }));
}

TEST_F(ReceivedFrame, HasItsChromaInItsBufferAndOfHalfTheSize)
{
    for (size_t i : {1U, 2U}) {
        ClipReply reply = yuv();
        reply.planes[i].offset = kBytes - 4;
        EXPECT_FALSE(isShown(reply, PixelLayout::yuv420));
        reply = yuv();
        reply.planes[i].width += 1;
        EXPECT_FALSE(isShown(reply, PixelLayout::yuv420));
        reply = yuv();
        reply.planes[i].height -= 1;
        EXPECT_FALSE(isShown(reply, PixelLayout::yuv420));
    }
}

TEST_F(ReceivedFrame, CanBeShown)
{
    const auto refused = [this](auto change) {
        ClipReply reply = rgb();
        change(reply);
        return !isShown(reply);
    };
    EXPECT_TRUE(refused([](auto &reply) { reply.quarterTurns = 4; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.quarterTurns = -1; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.displayWidth = 0; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.displayHeight = std::nan(""); }));
    EXPECT_TRUE(refused([](auto &reply) { reply.displayWidth = HUGE_VAL; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.start = -1; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.length = -1; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.length = std::numeric_limits<int64_t>::max(); }));
    EXPECT_TRUE(refused([](auto &reply) { reply.matrix = static_cast<ColourMatrix>(3); }));
    EXPECT_TRUE(refused([](auto &reply) { reply.range = static_cast<ColourRange>(-1); }));
}

TEST_F(ReceivedFrame, HasATextOfOneLineThatCanBePrinted)
{
    ClipReply reply = rgb();
    reply.setText(QStringLiteral("one\ncorvella: \x1b[31mtwo\t three\u202e"));
    EXPECT_EQ(textIn(reply), QStringLiteral("one corvella: ?[31mtwo three?"));
    reply.text.fill('x'); // no end
    EXPECT_EQ(textIn(reply), QString(reply.text.size(), u'x'));
    reply.text.fill('\xff'); // no UTF-8
    EXPECT_EQ(textIn(reply), QString(reply.text.size(), QChar::ReplacementCharacter));
    reply.setText(QString(1000, u'y'));
    EXPECT_EQ(textIn(reply), QString(reply.text.size() - 1, u'y'));
}

// Any bytes at all: what is shown of them lies in the buffer.
TEST_F(ReceivedFrame, MayBeAnything)
{
    std::mt19937 random(1);
    int shown = 0;
    for (int i = 0; i < 200'000; ++i) {
        const bool isRgb = i % 2 == 0;
        ClipReply reply = isRgb ? rgb() : yuv();
        auto *const bytes = reinterpret_cast<unsigned char *>(&reply);
        for (unsigned changes = 1 + random() % 4; changes > 0; --changes)
            bytes[random() % offsetof(ClipReply, text)] = static_cast<unsigned char>(random());
        const auto layout = isRgb ? PixelLayout::rgb32 : PixelLayout::yuv420;
        const Picture picture = frameIn(reply, layout, m_buffer).picture;
        for (const Plane &plane : picture.planes) {
            if (!plane.data)
                continue;
            ++shown;
            const int pixel = isRgb ? 4 : 1;
            const uint8_t *const end = plane.data
                + ptrdiff_t{plane.bytesPerLine} * (plane.size.height() - 1)
                + ptrdiff_t{plane.size.width()} * pixel;
            ASSERT_GE(plane.data, m_buffer->data());
            ASSERT_LE(end, m_buffer->data() + m_buffer->bytes());
        }
    }
    EXPECT_GT(shown, 1000) << "some changes do no harm";
}

} // namespace
} // namespace corvella
