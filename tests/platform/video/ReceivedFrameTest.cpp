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
constexpr QSize kBounds{kWidth, kHeight};
constexpr int kChroma = kWidth * kHeight / 4; // bytes
constexpr size_t kBytes = size_t{kWidth} * kHeight + 2 * kChroma;

class ReceivedFrame : public testing::Test
{
protected:
    // A sound reply about a picture in m_buffer, which it fills.
    static ClipReply sound()
    {
        ClipReply reply;
        reply.kind = ClipReply::Kind::picture;
        reply.length = 33'000'000;
        reply.start = 66'000'000;
        reply.planes[0] = {0, kWidth, kWidth, kHeight};
        reply.planes[1] = {kWidth * kHeight, kWidth / 2, kWidth / 2, kHeight / 2};
        reply.planes[2] = {kWidth * kHeight + kChroma, kWidth / 2, kWidth / 2, kHeight / 2};
        reply.displayWidth = kWidth;
        reply.displayHeight = kHeight;
        return reply;
    }
    [[nodiscard]] bool isShown(const ClipReply &reply, QSize bounds = kBounds) const
    {
        return !frameIn(reply, bounds, m_buffer).picture.isNull();
    }

    FileDescriptor m_file;
    std::shared_ptr<const SharedPixels> m_buffer = SharedPixels::make(kBytes, m_file);
};

TEST_F(ReceivedFrame, IsWhatTheReaderSays)
{
    ClipReply reply = sound();
    reply.matrix = ColourMatrix::bt2020;
    reply.range = ColourRange::full;
    reply.isLastOfLap = 1;
    reply.setText(QStringLiteral("breaks off after 3 of 4 pictures"));
    const VideoFrame frame = frameIn(reply, kBounds, m_buffer);
    EXPECT_EQ(frame.picture.planes[0].data, m_buffer->data());
    EXPECT_EQ(frame.picture.planes[0].size, QSize(kWidth, kHeight));
    EXPECT_EQ(frame.picture.planes[2].data, m_buffer->data() + kWidth * kHeight + kChroma);
    EXPECT_EQ(frame.picture.planes[2].size, QSize(kWidth / 2, kHeight / 2));
    EXPECT_EQ(frame.picture.displaySize, QSizeF(kWidth, kHeight));
    EXPECT_EQ(frame.picture.matrix, ColourMatrix::bt2020);
    EXPECT_EQ(frame.picture.range, ColourRange::full);
    EXPECT_EQ(frame.start, std::chrono::milliseconds(66));
    EXPECT_EQ(frame.duration, std::chrono::milliseconds(33));
    EXPECT_TRUE(frame.isLastOfLap);
    EXPECT_EQ(frame.brokenOff, QStringLiteral("breaks off after 3 of 4 pictures"));
}

TEST_F(ReceivedFrame, IsNoLargerThanItWasAskedToBe)
{
    EXPECT_TRUE(isShown(sound(), QSize(kWidth, kHeight + 100)));
    EXPECT_FALSE(isShown(sound(), QSize(kWidth - 1, kHeight)));
    EXPECT_FALSE(isShown(sound(), QSize(kWidth, kHeight - 1)));
}

TEST_F(ReceivedFrame, LiesInItsBuffer)
{
    for (size_t i = 0; i < 3; ++i) {
        const auto refused = [this, i](auto change) {
            ClipReply reply = sound();
            change(reply.planes[i]);
            return !isShown(reply, QSize(1 << 30, 1 << 30));
        };
        EXPECT_FALSE(refused([](auto &) {}));
        EXPECT_TRUE(refused([](auto &plane) { plane.offset = kBytes - 4; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.offset = ~uint64_t{3}; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.height += 1; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.height = 0; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.height = -plane.height; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.width = 0; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.width += 1; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.bytesPerLine -= 1; }));
        EXPECT_TRUE(refused([](auto &plane) { plane.bytesPerLine = -plane.bytesPerLine; }));
        EXPECT_TRUE(refused([](auto &plane) {
            plane = {0, std::numeric_limits<int32_t>::max(), 1 << 29, 1};
        }));
    }
    ClipReply reply = sound();
    reply.planes[2].offset += 1;
    EXPECT_FALSE(isShown(reply)) << "one byte too far";
    // Lines may be longer than what is shown of them; renderers read all of them to their ends.
    reply = sound();
    reply.planes[2].bytesPerLine += 1;
    reply.planes[2].offset = kBytes - uint64_t{kWidth / 2 + 1} * (kHeight / 2);
    EXPECT_TRUE(isShown(reply));
    reply.planes[2].offset += 1;
    EXPECT_FALSE(isShown(reply)) << "the last line's end is one byte too far";
}

TEST_F(ReceivedFrame, CanBeShown)
{
    const auto refused = [this](auto change) {
        ClipReply reply = sound();
        change(reply);
        return !isShown(reply);
    };
    EXPECT_TRUE(refused([](auto &reply) { reply.displayWidth = 0; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.displayHeight = std::nan(""); }));
    EXPECT_TRUE(refused([](auto &reply) { reply.displayWidth = HUGE_VAL; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.start = -1; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.length = -1; }));
    EXPECT_TRUE(refused([](auto &reply) { reply.length = std::numeric_limits<int64_t>::max(); }));
    EXPECT_TRUE(refused([](auto &reply) { reply.matrix = static_cast<ColourMatrix>(3); }));
    EXPECT_TRUE(refused([](auto &reply) { reply.range = static_cast<ColourRange>(-1); }));
}

TEST_F(ReceivedFrame, ComesWithinAMinuteOfTheOneBefore)
{
    VideoFrame frame;
    frame.start = std::chrono::minutes(61);
    frame.duration = std::chrono::minutes(1);
    EXPECT_TRUE(comesInTime(frame, std::chrono::minutes(60)));
    EXPECT_FALSE(comesInTime(frame, std::chrono::minutes(60) - MediaTime(1)));
    frame.duration += MediaTime(1);
    EXPECT_FALSE(comesInTime(frame, std::chrono::minutes(60)));
}

TEST_F(ReceivedFrame, HasATextOfOneLineThatCanBePrinted)
{
    ClipReply reply = sound();
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
        ClipReply reply = sound();
        auto *const bytes = reinterpret_cast<unsigned char *>(&reply);
        for (unsigned changes = 1 + random() % 4; changes > 0; --changes)
            bytes[random() % offsetof(ClipReply, text)] = static_cast<unsigned char>(random());
        const Picture picture = frameIn(reply, kBounds, m_buffer).picture;
        for (const Plane &plane : picture.planes) {
            if (!plane.data)
                continue;
            ++shown;
            const uint8_t *const end =
                plane.data + ptrdiff_t{plane.bytesPerLine} * plane.size.height();
            ASSERT_GE(plane.data, m_buffer->data());
            ASSERT_LE(end, m_buffer->data() + m_buffer->bytes());
        }
    }
    EXPECT_GT(shown, 1000) << "some changes do no harm";
}

} // namespace
} // namespace corvella
