// One decoded picture of a clip: luma and chroma as the clip has them, upright, and how to show
// them. A value that shares its pixels; safe to pass between threads, since nobody writes to them
// any more.
#pragma once

#include <QRect>
#include <QSize>

#include <array>
#include <cstdint>
#include <memory>

namespace corvella {

enum class ColourMatrix { bt601, bt709, bt2020 };
enum class ColourRange { limited, full };

struct Plane
{
    const uint8_t *data = nullptr; // of whole lines, the last one too
    int bytesPerLine = 0;
    QSize size;
};

struct Picture
{
    ColourMatrix matrix = ColourMatrix::bt709;
    ColourRange range = ColourRange::limited;
    std::array<Plane, 3> planes; // Y, Cb, Cr, 8 bits a sample; chroma halved both ways, rounded up
    QSizeF displaySize; // what the maker meant to be seen: pixel aspect and rotation applied
    std::shared_ptr<const void> storage; // keeps the planes alive

    [[nodiscard]] bool isNull() const { return planes[0].data == nullptr; }
    // In pixels; no larger than what shows it, so that it is only ever enlarged.
    [[nodiscard]] QSize size() const { return planes[0].size; }
};

// The size of a chroma plane beside a luma plane of this size.
[[nodiscard]] QSize chromaSize(QSize luma);

// The largest rectangle of content's shape that fits into bounds, centred, on whole pixels.
// Never empty where bounds is not: a sliver still gets one pixel.
[[nodiscard]] QRect fittedRect(QSizeF content, const QRect &bounds);

} // namespace corvella
