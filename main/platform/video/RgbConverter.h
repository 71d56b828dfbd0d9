// A picture's planes as RGB, enlarged to the size at which it shows, rows at a time: what is drawn
// right after it was converted is still in the cache, and no picture is held as RGB, which has
// several times the bytes. One thread.
//
// It does the sums itself since what the libraries at hand do quickly they do coarsely: libyuv has
// a blue of 7 where there is none.
#pragma once

#include "platform/video/Picture.h"
#include "platform/video/PlaneEnlarger.h"

#include <QImage>

#include <array>
#include <list>
#include <vector>

namespace corvella {

class RgbConverter
{
public:
    // Rows [first, first + count) of the picture at this size, in pixels, as Format_RGB32. Valid
    // until the next call.
    [[nodiscard]] QImage rows(const Picture &picture, QSize size, int first, int count);

    // The same where they shall be, `stride` pixels from row to row. The picture is quick.
    void writeRows(const Picture &picture, QSize size, int first, int count, uint32_t *pixels,
                   ptrdiff_t stride);

    // Whether a few rows cost less than all of them: the picture is nowhere made smaller.
    [[nodiscard]] static bool isQuick(const Picture &picture, QSize size)
    {
        return PlaneEnlarger::serves(picture.size(), size);
    }

private:
    // Rows of a plane at this size; `memory` is for what is not there as it is.
    [[nodiscard]] Plane enlarged(const Plane &plane, QSize size, int first, int count,
                                 std::vector<uint8_t> &memory);
    [[nodiscard]] PlaneEnlarger &enlarger(QSize from, QSize to);

    std::list<PlaneEnlarger> m_enlargers; // of the sizes that were used last
    std::array<std::vector<uint8_t>, 3> m_planes;
    std::vector<uint32_t> m_rows;
};

} // namespace corvella
