#include "support/TestPattern.h"

#include "FrameMark.h"
#include "support/TestClip.h"

#include <QPainter>

#include <algorithm>
#include <array>

namespace corvella::test {

namespace {

constexpr int kNumbersPerClip = 1000;
constexpr int kCornerSide = 32; // of the pattern's own pixels
constexpr int kSampleInset = 2; // pixels of a grab, clear of what scaling smoothes
constexpr int kSampleSide = 4;
constexpr int kLit = 64; // of 255: a corner may lie under the darkening that carries texts
constexpr int kStripHeight = kTestPatternSize.width() / 20; // of the mark
constexpr int kStripTop = (kTestPatternSize.height() - kStripHeight) / 2;
constexpr int kTolerance = 8;         // of 255
constexpr int kWallSymbolSide = 100;  // pixels at scale 1
constexpr double kWallTexts = 0.14;   // of a screen's height
constexpr int kWallTextsAtLeast = 90; // pixels at scale 1

constexpr QColor kTopLeft{255, 0, 0};
constexpr QColor kTopRight{0, 255, 0};
constexpr QColor kBottomLeft{0, 0, 255};
constexpr QColor kBottomRight{255, 255, 0};

struct Corner
{
    QColor colour;
    QRect place;
};

// Squares of this side in the corners of a rectangle.
std::array<Corner, 4> corners(const QRect &rect, int side)
{
    const QRect topLeft(rect.topLeft(), QSize(side, side));
    const int right = rect.width() - side;
    const int bottom = rect.height() - side;
    return {{{kTopLeft, topLeft},
             {kTopRight, topLeft.translated(right, 0)},
             {kBottomLeft, topLeft.translated(0, bottom)},
             {kBottomRight, topLeft.translated(right, bottom)}}};
}

void paintPattern(QImage &image, int number)
{
    QPainter painter(&image);
    for (const Corner &corner : corners(image.rect(), kCornerSide))
        painter.fillRect(corner.place, corner.colour);
    QImage strip(image.width(), kStripHeight, QImage::Format_RGB888);
    strip.fill(Qt::gray);
    sun::drawFrameMark(strip, number);
    painter.drawImage(0, kStripTop, strip);
}

QRect stripWithin(const QRect &picture)
{
    const double scale = double(picture.height()) / kTestPatternSize.height();
    return QRectF(picture.left(), picture.top() + kStripTop * scale, picture.width(),
                  kStripHeight * scale)
        .toRect();
}

// Whether the channels that the colour has are lit here, and no others.
bool hasColour(const QImage &grab, const QRect &place, const QColor &colour)
{
    const QColor seen = grab.pixelColor(place.center());
    return (seen.red() > kLit) == (colour.red() > 0)
        && (seen.green() > kLit) == (colour.green() > 0)
        && (seen.blue() > kLit) == (colour.blue() > 0);
}

} // namespace

void writeTestPattern(const QString &path, int clip, int frames)
{
    TestClip pattern;
    pattern.width = kTestPatternSize.width();
    pattern.height = kTestPatternSize.height();
    pattern.frames = frames;
    pattern.marked = false; // a wall's texts would lie over a mark at the bottom
    pattern.colour = [](int) { return QColor(Qt::gray); };
    pattern.paint = [clip](QImage &image, int frame) {
        paintPattern(image, clip * kNumbersPerClip + frame);
    };
    pattern.write(path);
}

std::optional<SeenPattern> seenPattern(const QImage &grab, const QRect &picture)
{
    const std::optional<int> number = sun::readFrameMark(grab, stripWithin(picture));
    if (!number)
        return std::nullopt;
    const QRect sampled =
        picture.adjusted(kSampleInset, kSampleInset, -kSampleInset, -kSampleInset);
    const auto all = corners(sampled, kSampleSide);
    const bool isWhole = std::all_of(all.begin(), all.end(), [&grab](const Corner &corner) {
        return hasColour(grab, corner.place, corner.colour);
    });
    return SeenPattern{*number / kNumbersPerClip, *number % kNumbersPerClip, isWhole};
}

QRect fittedPattern(const QRect &screen)
{
    QRect fitted(QPoint(0, 0), kTestPatternSize.scaled(screen.size(), Qt::KeepAspectRatio));
    fitted.moveCenter(screen.center());
    return fitted;
}

bool isBlackBeside(const QImage &grab, const QRect &screen, const QRect &picture)
{
    const int texts = std::max(static_cast<int>(kWallTexts * screen.height()), kWallTextsAtLeast);
    const QRect symbol(screen.right() + 1 - kWallSymbolSide, screen.top(), kWallSymbolSide,
                       kWallSymbolSide);
    const QRegion beside =
        QRegion(screen.adjusted(0, 0, 0, -texts)) - symbol - picture.adjusted(-2, -2, 2, 2);
    return std::all_of(beside.begin(), beside.end(),
                       [&grab](const QRect &part) { return isFilledWith(grab, part, Qt::black); });
}

bool isFilledWith(const QImage &grab, const QRect &part, const QColor &colour)
{
    if (!grab.rect().contains(part))
        return false;
    const auto differs = [](int a, int b) { return std::abs(a - b) > kTolerance; };
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            const QRgb pixel = grab.pixel(x, y);
            if (differs(qRed(pixel), colour.red()) || differs(qGreen(pixel), colour.green())
                || differs(qBlue(pixel), colour.blue()))
                return false;
        }
    }
    return true;
}

} // namespace corvella::test
