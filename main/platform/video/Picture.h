// One decoded picture of a clip: pixels as the renderer asked for them, and how to show them.
// A value that shares its pixels; safe to pass between threads, since nobody writes to them any
// more.
#pragma once

#include <QRect>
#include <QSize>

#include <array>
#include <cstdint>
#include <memory>

class QImage;

namespace corvella {

enum class PixelLayout {
    yuv420, // three planes, chroma halved both ways
    rgb32,  // one plane of 0xffRRGGBB words, as QImage::Format_RGB32
};

enum class ColourMatrix { bt601, bt709, bt2020 };
enum class ColourRange { limited, full };

struct Plane
{
    const uint8_t *data = nullptr;
    int bytesPerLine = 0;
    QSize size;
};

struct Picture
{
    PixelLayout layout = PixelLayout::rgb32;
    ColourMatrix matrix = ColourMatrix::bt709; // of no meaning for rgb32
    ColourRange range = ColourRange::limited;  // of no meaning for rgb32
    std::array<Plane, 3> planes;
    QSizeF displaySize;   // what the maker meant to be seen: pixel aspect and rotation applied
    int quarterTurns = 0; // clockwise turns the renderer still has to make, 0 to 3
    std::shared_ptr<const void> storage; // keeps the planes alive

    [[nodiscard]] bool isNull() const { return planes[0].data == nullptr; }
    // The pixels of an rgb32 picture without a copy; valid as long as this picture or a copy of it
    // lives. The program's only: what reads clips does without Qt's pictures.
    [[nodiscard]] QImage image() const;
};

// What a renderer wants of the decoder.
struct PictureRequest
{
    PixelLayout layout = PixelLayout::rgb32;
    QSize bounds; // pixels that an rgb32 picture is fitted into; ignored for planes

    bool operator==(const PictureRequest &) const = default;
};

// The largest rectangle of content's shape that fits into bounds, centred, on whole pixels.
// Never empty where bounds is not: a sliver still gets one pixel.
[[nodiscard]] QRect fittedRect(QSizeF content, const QRect &bounds);

} // namespace corvella
