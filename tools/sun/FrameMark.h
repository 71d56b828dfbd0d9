#pragma once

#include <QImage>
#include <QRect>

#include <optional>

namespace corvella::sun {

// A frame number that a test can read back from a screen grab. It is a strip of 17 squares at the
// picture's bottom left, each a twentieth of the picture's width: the number's 16 bits, the most
// significant first, white for one, and a square that makes the count of white squares odd, so that
// a black or white picture reads as no mark at all.

inline constexpr int kLargestFrameMark = 65534;

// Draws the mark for `frame`, 0 to kLargestFrameMark, over the picture's bottom edge.
void drawFrameMark(QImage &image, int frame);

// Reads the mark of the picture that fills `picture` within `image` (in the image's pixels), at any
// scale of some 60 pixels width and up. Nothing where a square is neither black nor white or the
// count is even.
std::optional<int> readFrameMark(const QImage &image, const QRect &picture);

} // namespace corvella::sun
