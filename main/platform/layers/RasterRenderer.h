// Draws a layer tree into memory, only where it changed since the last time.
#pragma once

#include "platform/layers/DrawList.h"

#include <QRegion>

class QPainter;

namespace corvella {

class RasterRenderer
{
public:
    // What must be drawn anew to show this list, in device pixels. After it, paint() must follow.
    [[nodiscard]] QRegion advance(DrawList list);
    // Everything must be drawn anew, as after the window was uncovered or resized.
    void invalidate() { m_list.clear(); }

    // Draws the current list into `target` (32 bits a pixel, as large as the window), inside
    // `region`.
    void paint(QImage &target, const QRegion &region) const;

private:
    DrawList m_list;
};

} // namespace corvella
