// A picture that a test recognises on a screen: a clip of it numbers its frames where nothing is
// laid over them, and each corner has a colour of its own, so that a cropped, stretched or
// displaced picture does not pass. Pure functions but for the writing.
#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <optional>

namespace corvella::test {

// Four wide by three high.
inline constexpr QSize kTestPatternSize{320, 240};

// Writes a clip of the pattern, 30 frames a second, the frames numbered from 0; fails the test when
// that cannot be done. `clip` is 0 to 64, `frames` 1 to 1000.
void writeTestPattern(const QString &path, int clip, int frames);

struct SeenPattern
{
    int clip = 0;
    int frame = 0;
    bool isWhole = false; // all four corners are where they belong
};

// The pattern that fills `picture` within the grab of a screen, at any brightness of its corners
// above a quarter; none where its numbers cannot be read.
[[nodiscard]] std::optional<SeenPattern> seenPattern(const QImage &grab, const QRect &picture);

// Where the pattern belongs on a screen: in the middle, as large as it fits.
[[nodiscard]] QRect fittedPattern(const QRect &screen);

// Whether a screen is black beside its picture. A margin of two pixels is left for smoothing, and
// what a wall lays over its clips is passed by: texts along the bottom, a symbol in the top right
// corner.
[[nodiscard]] bool isBlackBeside(const QImage &grab, const QRect &screen, const QRect &picture);

// Whether all of a part of a grab has one colour, give or take what a display's depth takes away.
[[nodiscard]] bool isFilledWith(const QImage &grab, const QRect &part, const QColor &colour);

} // namespace corvella::test
