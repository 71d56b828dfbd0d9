#include "FrameMark.h"

#include <QColor>
#include <QPainter>

#include <algorithm>
#include <bit>

namespace corvella::sun {

namespace {

constexpr int kBits = 16;
constexpr int kSquares = kBits + 1;
constexpr double kSquaresAcross = 20;
constexpr double kSampledPart = 0.4; // of a square's side, round its centre: clear of the edges
constexpr double kBlackest = 90;     // of 255: a darker square is a zero
constexpr double kWhitest = 165;     // a brighter one is a one

// The squares' bits, the leftmost highest, the parity lowest.
unsigned marked(unsigned frame)
{
    const bool even = std::popcount(frame) % 2 == 0;
    return frame << 1U | (even ? 1U : 0U);
}

QRectF square(const QRectF &picture, int index)
{
    const double side = picture.width() / kSquaresAcross;
    return {picture.left() + index * side, picture.bottom() - side, side, side};
}

double meanGrey(const QImage &image, const QRectF &area)
{
    const int left = static_cast<int>(area.left());
    const int top = static_cast<int>(area.top());
    const int right = std::max(left, static_cast<int>(area.right() - 0.5));
    const int bottom = std::max(top, static_cast<int>(area.bottom() - 0.5));
    double sum = 0;
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x)
            sum += qGray(image.pixel(x, y));
    }
    return sum / ((right - left + 1) * (bottom - top + 1));
}

std::optional<bool> readSquare(const QImage &image, const QRectF &area)
{
    const double inset = area.width() * (1 - kSampledPart) / 2;
    const QRectF sampled = area.adjusted(inset, inset, -inset, -inset);
    if (!QRectF(image.rect()).contains(sampled))
        return std::nullopt;
    const double grey = meanGrey(image, sampled);
    if (grey > kBlackest && grey < kWhitest)
        return std::nullopt;
    return grey >= kWhitest;
}

} // namespace

void drawFrameMark(QImage &image, int frame)
{
    const unsigned bits = marked(static_cast<unsigned>(std::clamp(frame, 0, kLargestFrameMark)));
    QPainter painter(&image);
    for (int i = 0; i < kSquares; ++i) {
        const bool white = (bits >> static_cast<unsigned>(kSquares - 1 - i) & 1U) != 0;
        painter.fillRect(square(QRectF(image.rect()), i), white ? Qt::white : Qt::black);
    }
}

std::optional<int> readFrameMark(const QImage &image, const QRect &picture)
{
    unsigned bits = 0;
    for (int i = 0; i < kSquares; ++i) {
        const std::optional<bool> white = readSquare(image, square(QRectF(picture), i));
        if (!white)
            return std::nullopt;
        bits = bits << 1U | (*white ? 1U : 0U);
    }
    const int frame = static_cast<int>(bits >> 1U);
    if (std::popcount(bits) % 2 == 0 || frame > kLargestFrameMark)
        return std::nullopt;
    return frame;
}

} // namespace corvella::sun
