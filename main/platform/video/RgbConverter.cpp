#include "platform/video/RgbConverter.h"

#include "platform/video/ColourDecoding.h"

#include <algorithm>
#include <cmath>

// Vectors of twice the length halve the time on a processor that has them. The choice is made when
// the program is loaded, before a sanitizer is ready for it.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define CORVELLA_ALSO_FOR_AVX2 __attribute__((target_clones("avx2", "default")))
#else
#define CORVELLA_ALSO_FOR_AVX2
#endif

namespace corvella {

namespace {

// Rows that are enlarged, then converted: few enough to stay in the cache between the two.
constexpr int kStripRows = 16;
// Two clips of different sizes show during a transition, and each has two sizes of planes.
constexpr size_t kMostEnlargers = 4;

// Products of samples and factors are 16ths of a level of colour, in 16 bits, which the vector code
// of the loops below makes use of: 7 bits before the sample, 13 behind the factor's point, less 16.
constexpr int kSampleUnit = 1 << 7;
constexpr float kFactorUnit = 1 << 13;
constexpr int kLevelShift = 4;

struct Factors
{
    int16_t black, luma, redOfCr, greenOfCb, greenOfCr, blueOfCb;

    explicit Factors(const ColourDecoding &decoding)
        : black(static_cast<int16_t>(decoding.black))
        , luma(factor(decoding.luma))
        , redOfCr(factor(decoding.redOfCr))
        , greenOfCb(factor(decoding.greenOfCb))
        , greenOfCr(factor(decoding.greenOfCr))
        , blueOfCb(factor(decoding.blueOfCb))
    {
    }

    static int16_t factor(float value)
    {
        return static_cast<int16_t>(std::lround(value * kFactorUnit));
    }
};

inline int16_t product(int sample, int16_t factor)
{
    return static_cast<int16_t>((static_cast<int16_t>(sample * kSampleUnit) * factor) >> 16);
}

inline uint32_t level(int sixteenths)
{
    constexpr int kHalf = 1 << (kLevelShift - 1);
    const auto rounded =
        static_cast<int16_t>(static_cast<int16_t>(sixteenths + kHalf) >> kLevelShift);
    return static_cast<uint8_t>(std::clamp<int16_t>(rounded, 0, 255));
}

// What a row of chroma adds to each pixel of the two rows that have it.
struct ChromaTerms
{
    std::vector<int16_t> blue, green, red;

    explicit ChromaTerms(int samples)
        : blue(2 * static_cast<size_t>(samples))
        , green(blue.size())
        , red(blue.size())
    {
    }
};

// For so many samples of each plane, and twice as many pixels.
CORVELLA_ALSO_FOR_AVX2 void computeTerms(Factors by, const uint8_t *cb, const uint8_t *cr,
                                         int samples, ChromaTerms &terms)
{
    int16_t *const b = terms.blue.data();
    int16_t *const g = terms.green.data();
    int16_t *const r = terms.red.data();
    for (ptrdiff_t i = 0; i < samples; ++i) {
        const int16_t addsBlue = product(cb[i] - 128, by.blueOfCb);
        const auto addsGreen = static_cast<int16_t>(product(cb[i] - 128, by.greenOfCb)
                                                    + product(cr[i] - 128, by.greenOfCr));
        const int16_t addsRed = product(cr[i] - 128, by.redOfCr);
        b[2 * i] = b[2 * i + 1] = addsBlue;
        g[2 * i] = g[2 * i + 1] = addsGreen;
        r[2 * i] = r[2 * i + 1] = addsRed;
    }
}

// Writes words of QImage::Format_RGB32.
CORVELLA_ALSO_FOR_AVX2 void convertRow(Factors by, const uint8_t *luma, const ChromaTerms &chroma,
                                       uint32_t *pixels, int width)
{
    const int16_t *const b = chroma.blue.data();
    const int16_t *const g = chroma.green.data();
    const int16_t *const r = chroma.red.data();
    for (int x = 0; x < width; ++x) {
        const int16_t grey = product(luma[x] - by.black, by.luma);
        pixels[x] =
            0xff000000 | level(grey + r[x]) << 16 | level(grey + g[x]) << 8 | level(grey + b[x]);
    }
}

const uint8_t *row(const Plane &plane, int y)
{
    return plane.data + ptrdiff_t{y} * plane.bytesPerLine;
}

int wholeBlocks(int width)
{
    return (width + PlaneEnlarger::kBlock - 1) / PlaneEnlarger::kBlock * PlaneEnlarger::kBlock;
}

} // namespace

QImage RgbConverter::rows(const Picture &picture, QSize size, int first, int count)
{
    if (!isQuick(picture, size)) {
        const QSize own = picture.size();
        return rows(picture, own, 0, own.height())
            .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .copy(0, first, size.width(), count);
    }
    m_rows.resize(static_cast<size_t>(size.width()) * static_cast<size_t>(count));
    writeRows(picture, size, first, count, m_rows.data(), size.width());
    return QImage(reinterpret_cast<const uchar *>(m_rows.data()), size.width(), count,
                  qsizetype{4} * size.width(), QImage::Format_RGB32);
}

void RgbConverter::writeRows(const Picture &picture, QSize size, int first, int count,
                             uint32_t *pixels, ptrdiff_t stride)
{
    const Factors factors(colourDecoding(picture.matrix, picture.range));
    const QSize chroma = chromaSize(size);
    ChromaTerms terms(chroma.width());
    for (int begin = first; begin < first + count; begin += kStripRows) {
        const int end = std::min(begin + kStripRows, first + count);
        const int chromaRows = (end - 1) / 2 - begin / 2 + 1;
        const Plane luma = enlarged(picture.planes[0], size, begin, end - begin, m_planes[0]);
        const Plane blue = enlarged(picture.planes[1], chroma, begin / 2, chromaRows, m_planes[1]);
        const Plane red = enlarged(picture.planes[2], chroma, begin / 2, chromaRows, m_planes[2]);
        for (int y = begin; y < end; ++y, pixels += stride) {
            if (y == begin || y % 2 == 0)
                computeTerms(factors, row(blue, y / 2 - begin / 2), row(red, y / 2 - begin / 2),
                             chroma.width(), terms);
            convertRow(factors, row(luma, y - begin), terms, pixels, size.width());
        }
    }
}

Plane RgbConverter::enlarged(const Plane &plane, QSize size, int first, int count,
                             std::vector<uint8_t> &memory)
{
    if (plane.size == size)
        return {row(plane, first), plane.bytesPerLine, QSize(size.width(), count)};
    const int stride = wholeBlocks(size.width());
    memory.resize(static_cast<size_t>(stride) * kStripRows);
    enlarger(plane.size, size)
        .writeRows(plane.data, plane.bytesPerLine, first, count, memory.data(), stride);
    return {memory.data(), stride, QSize(size.width(), count)};
}

PlaneEnlarger &RgbConverter::enlarger(QSize from, QSize to)
{
    const auto known =
        std::find_if(m_enlargers.begin(), m_enlargers.end(), [&](const PlaneEnlarger &one) {
            return one.from() == from && one.to() == to;
        });
    if (known != m_enlargers.end()) {
        m_enlargers.splice(m_enlargers.begin(), m_enlargers, known);
    } else {
        m_enlargers.emplace_front(from, to);
        if (m_enlargers.size() > kMostEnlargers)
            m_enlargers.pop_back();
    }
    return m_enlargers.front();
}

} // namespace corvella
