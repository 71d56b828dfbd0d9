// Draws a layer tree into memory, only where it changed since the last time.
#pragma once

#include "platform/layers/DrawList.h"
#include "platform/video/RgbConverter.h"

#include <QRegion>

class QPainter;

namespace corvella {

class RasterRenderer
{
public:
    // What must be drawn anew to show this list, in device pixels. Unless that is nothing, paint()
    // must follow, once.
    [[nodiscard]] QRegion advance(DrawList list);
    // Everything must be drawn anew, as after the window was uncovered or resized.
    void invalidate() { m_list.clear(); }

    // Draws the current list into `target` (of any format, as large as the window), inside
    // `region`, and lets the clips' pictures go: the decoders need their memory.
    void paint(QImage &target, const QRegion &region);

private:
    // `painter` paints on `target`.
    void drawItem(QPainter &painter, QImage &target, const DrawItem &item, const QRect &area);
    void drawPicture(QPainter &painter, QImage &target, const DrawItem &item, const QRect &area);
    void letPicturesGo();

    DrawList m_list;
    RgbConverter m_rgb;
};

} // namespace corvella
