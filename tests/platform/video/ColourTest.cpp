#include "platform/video/VideoPlayer.h"

#include "support/ManualMediaClock.h"
#include "support/ShownPicture.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QTemporaryDir>

#include <cmath>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using Matrix = test::TestClip::Matrix;

// The gold of a 171 Å picture and the red of a 304 Å one, the darkest and the brightest.
const QColor kColours[] = {{214, 160, 0}, {200, 40, 10}, {0, 0, 0}, {255, 255, 255}, {30, 20, 90}};

struct Coding
{
    const char *name;
    Matrix matrix;
    bool fullRange;
    int height;
    int shownHeight = height; // pixels; the width follows
};

class StreamColour : public testing::TestWithParam<Coding>
{
};

// A channel may be off by what 8-bit chroma coding and its rounding cost.
constexpr int kTolerance = 5;

bool isClose(const QColor &seen, const QColor &meant)
{
    return std::abs(seen.red() - meant.red()) <= kTolerance
        && std::abs(seen.green() - meant.green()) <= kTolerance
        && std::abs(seen.blue() - meant.blue()) <= kTolerance;
}

QColor seen(const VideoPlayer &player, QSize bounds)
{
    return test::shown(player.picture(), bounds).pixelColor(128, 100);
}

TEST_P(StreamColour, ComesOutAsItWentIn)
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("colour.mp4"));
    test::TestClip clip;
    clip.width = 256;
    clip.height = GetParam().height;
    clip.matrix = GetParam().matrix;
    clip.fullRange = GetParam().fullRange;
    clip.frames = std::size(kColours);
    clip.marked = false;
    clip.bFrames = 0;
    clip.colour = [](int frame) { return kColours[frame]; };
    clip.write(path);

    test::ManualMediaClock clock;
    const QSize bounds(2 * GetParam().shownHeight, GetParam().shownHeight);
    VideoPlayer player(path, bounds, clock);
    player.play(1);
    for (const QColor &colour : kColours) {
        EXPECT_TRUE(test::becomes([&] {
            player.advance();
            return !player.picture().isNull() && isClose(seen(player, bounds), colour);
        })) << colour.name().toStdString()
            << " shows as " << seen(player, bounds).name().toStdString();
        clock.advance(std::chrono::milliseconds(34));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codings, StreamColour,
    testing::Values(Coding{"Bt709Limited", Matrix::bt709, false, 256},
                    Coding{"Bt709Full", Matrix::bt709, true, 256},
                    Coding{"Bt601Limited", Matrix::bt601, false, 256},
                    Coding{"Bt601Full", Matrix::bt601, true, 256},
                    // Untagged streams are written as BT.601; so are they read, up to a size.
                    Coding{"UntaggedFull", Matrix::untagged, true, 256},
                    Coding{"UntaggedLimited", Matrix::untagged, false, 256},
                    Coding{"UntaggedFullAt720Lines", Matrix::untagged, true, 720},
                    Coding{"TaggedBt601At720Lines", Matrix::bt601, true, 720},
                    // The ways to another size are others, and no colour may change on them.
                    Coding{"EnlargedALittle", Matrix::bt709, false, 256, 270},
                    Coding{"EnlargedToAnOddHeight", Matrix::bt601, true, 256, 271},
                    Coding{"EnlargedMuch", Matrix::bt709, true, 256, 600},
                    Coding{"Reduced", Matrix::bt709, false, 256, 200}),
    [](const auto &row) { return row.param.name; });

// A picture of four squares keeps them where they are: nothing is cut off, nothing shifts.
TEST(EnlargedPicture, HasEverythingInItsPlace)
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("squares.mp4"));
    const QColor corners[2][2] = {{{214, 160, 0}, {200, 40, 10}}, {{30, 20, 90}, {230, 230, 230}}};
    test::TestClip clip;
    clip.width = 256;
    clip.height = 256;
    clip.frames = 1;
    clip.marked = false;
    clip.paint = [&corners](QImage &image, int) {
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x)
                image.setPixelColor(x, y, corners[y / 128][x / 128]);
        }
    };
    clip.write(path);

    const test::ManualMediaClock clock;
    const VideoPlayer player(path, QSize(540, 270), clock);
    ASSERT_TRUE(test::becomes([&] { return !player.picture().isNull(); }));
    const QImage image = test::shown(player.picture(), QSize(540, 270));
    ASSERT_EQ(image.size(), QSize(270, 270));
    // The squares meet at 135; chroma is coarse, so a few pixels around there are left out.
    for (const int y : {0, 60, 130, 139, 200, 269}) {
        for (const int x : {0, 60, 130, 139, 200, 269}) {
            const QColor seen = image.pixelColor(x, y);
            EXPECT_TRUE(isClose(seen, corners[y / 135][x / 135]))
                << seen.name().toStdString() << " at " << x << ", " << y;
        }
    }
}

// Untagged video of limited range is BT.709 from 720 lines up: (214, 160, 0) coded by BT.601 is, at
// full scale, Y 157.9, Cb 38.9, Cr 168.0; BT.709 reads R 221, G 156 (157.9 + 0.1873 * 89.1 - 0.4681
// * 40.0), B 0.
TEST(StreamColourUntagged, IsBt709From720LinesAtLimitedRange)
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("colour.mp4"));
    test::TestClip clip;
    clip.width = 720;
    clip.height = 720;
    clip.matrix = Matrix::untagged;
    clip.marked = false;
    clip.frames = 1;
    clip.colour = [](int) { return kColours[0]; };
    clip.write(path);

    const test::ManualMediaClock clock;
    const VideoPlayer player(path, QSize(720, 720), clock);
    ASSERT_TRUE(test::becomes([&] { return !player.picture().isNull(); }));
    const QColor seen = test::shown(player.picture(), QSize(720, 720)).pixelColor(360, 360);
    EXPECT_TRUE(isClose(seen, QColor(221, 156, 0))) << seen.name().toStdString();
}

} // namespace
} // namespace corvella
