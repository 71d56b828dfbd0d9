#include "platform/video/PlaneEnlarger.h"

#include <algorithm>

// The one step that portable C++ has no fast word for picks bytes out of a register by a table.
// Every arm64 processor has it, and every x86-64 one since 2006; others do without.
#if defined(__x86_64__)
#include <tmmintrin.h>
#define CORVELLA_PICKS_BYTES __attribute__((target("ssse3")))
#elif defined(__aarch64__)
#include <arm_neon.h>
#define CORVELLA_PICKS_BYTES
#else
#define CORVELLA_PICKS_BYTES
#endif

namespace corvella {

namespace {

constexpr int kOne = 256; // weights are 256ths

struct Position
{
    int index;  // of the sample at or before it
    int weight; // of the next sample, below kOne
};

// Where the centre of target sample i lies among the centres of the source's samples.
Position position(int i, int from, int to)
{
    const int64_t unit = int64_t{2} * to;
    const int64_t place = std::max<int64_t>((2 * int64_t{i} + 1) * from - to, 0);
    return {static_cast<int>(place / unit), static_cast<int>(place % unit * kOne / unit)};
}

bool picksBytesFast()
{
#if defined(__x86_64__)
    return __builtin_cpu_supports("ssse3") != 0;
#elif defined(__aarch64__)
    return true;
#else
    return false;
#endif
}

// to[k] = from[offsets[k]], for a block of samples.
void pickOneByOne(const uint8_t *from, const uint8_t *offsets, uint8_t *to)
{
    for (int k = 0; k < PlaneEnlarger::kBlock; ++k)
        to[k] = from[offsets[k]];
}

// Likewise, where picksBytesFast().
CORVELLA_PICKS_BYTES inline void pick(const uint8_t *from, const uint8_t *offsets, uint8_t *to)
{
#if defined(__x86_64__)
    const auto vector = [](const uint8_t *bytes) {
        return reinterpret_cast<const __m128i *>(bytes);
    };
    _mm_storeu_si128(
        reinterpret_cast<__m128i *>(to),
        _mm_shuffle_epi8(_mm_loadu_si128(vector(from)), _mm_loadu_si128(vector(offsets))));
#elif defined(__aarch64__)
    vst1q_u8(to, vqtbl1q_u8(vld1q_u8(from), vld1q_u8(offsets)));
#else
    pickOneByOne(from, offsets, to);
#endif
}

inline uint8_t mixed(uint8_t a, uint8_t b, uint16_t weightOfB)
{
    // Fits into 16 bits, which the vector code of the loops around makes use of.
    return static_cast<uint8_t>(static_cast<uint16_t>(a * kOne + (b - a) * weightOfB + kOne / 2)
                                / kOne);
}

} // namespace

bool PlaneEnlarger::serves(QSize from, QSize to)
{
    return !from.isEmpty() && to.width() >= from.width() && to.height() >= from.height();
}

PlaneEnlarger::PlaneEnlarger(QSize from, QSize to)
    : m_from(from)
    , m_to(to)
    , m_row(static_cast<size_t>(from.width() + kBlock + 1))
{
    const int blocks = (to.width() + kBlock - 1) / kBlock;
    for (int x = 0; x < blocks * kBlock; ++x) {
        const Position at = position(std::min(x, to.width() - 1), from.width(), to.width());
        if (x % kBlock == 0)
            m_starts.push_back(at.index);
        // Below kBlock, since nowhere has the source more samples than the target.
        m_offsets.push_back(static_cast<uint8_t>(at.index - m_starts.back()));
        m_weights.push_back(static_cast<uint16_t>(at.weight));
    }
    m_before.resize(m_offsets.size());
    m_after.resize(m_offsets.size());
}

void PlaneEnlarger::writeRows(const uint8_t *source, int sourceStride, int first, int count,
                              uint8_t *target, int targetStride)
{
    const int width = m_from.width();
    for (int y = first; y < first + count; ++y) {
        const Position at = position(y, m_from.height(), m_to.height());
        const int below = std::min(at.index + 1, m_from.height() - 1);
        const uint8_t *a = source + ptrdiff_t{at.index} * sourceStride;
        const uint8_t *b = source + ptrdiff_t{below} * sourceStride;
        uint8_t *row = m_row.data();
        const auto weight = static_cast<uint16_t>(at.weight);
        for (int x = 0; x < width; ++x)
            row[x] = mixed(a[x], b[x], weight);
        // The last sample is its own neighbour, and blocks are read whole.
        std::fill(row + width, row + m_row.size(), row[width - 1]);
        gatherNeighbours();
        mixNeighbours(target + ptrdiff_t{y - first} * targetStride);
    }
}

void PlaneEnlarger::mixNeighbours(uint8_t *target) const
{
    const uint8_t *const before = m_before.data();
    const uint8_t *const after = m_after.data();
    const uint16_t *const weights = m_weights.data();
    const size_t width = m_weights.size();
    for (size_t x = 0; x < width; ++x)
        target[x] = mixed(before[x], after[x], weights[x]);
}

void PlaneEnlarger::gatherNeighbours()
{
    static const bool isFast = picksBytesFast();
    if (isFast)
        return gatherFast();
    size_t x = 0;
    for (const int start : m_starts) {
        pickOneByOne(&m_row[static_cast<size_t>(start)], &m_offsets[x], &m_before[x]);
        pickOneByOne(&m_row[static_cast<size_t>(start) + 1], &m_offsets[x], &m_after[x]);
        x += kBlock;
    }
}

CORVELLA_PICKS_BYTES void PlaneEnlarger::gatherFast()
{
    const uint8_t *const row = m_row.data();
    const uint8_t *const offsets = m_offsets.data();
    uint8_t *const before = m_before.data();
    uint8_t *const after = m_after.data();
    size_t x = 0;
    for (const int start : m_starts) {
        pick(row + start, offsets + x, before + x);
        pick(row + start + 1, offsets + x, after + x);
        x += kBlock;
    }
}

} // namespace corvella
