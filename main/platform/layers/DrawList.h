// A layer tree at one moment, flattened for drawing: what is visible, bottom to top, in device
// pixels with the origin at the top left. Both renderers draw from this list and from nothing else.
#pragma once

#include "platform/time/MediaClock.h"
#include "platform/video/Picture.h"

#include <QColor>
#include <QImage>
#include <QRectF>

#include <optional>
#include <vector>

namespace corvella {

class LayerTree;

struct DrawMask
{
    bool isEllipse = false;
    QRectF rect;

    bool operator==(const DrawMask &) const = default;
};

struct DrawItem
{
    QRectF rect; // the layer's frame
    double opacity = 1;
    QColor background;
    std::optional<DrawMask> mask;
    Picture picture;    // a clip's picture; null for none
    QRect pictureRect;  // where it goes, fitted into rect; empty for none
    QImage contents;    // else premultiplied pixels for rect, on whole pixels; null for none
    quint64 serial = 0; // changes with the picture or the contents
    const void *source = nullptr; // whose item this is, for comparing lists

    // What of the screen this item touches.
    [[nodiscard]] QRect touched() const;
};

using DrawList = std::vector<DrawItem>;

// Everything visible at this moment; what is fully transparent or empty is left out.
[[nodiscard]] DrawList drawList(const LayerTree &tree, MediaTime now);

// The part of the screen on which two lists may differ.
[[nodiscard]] QRegion damage(const DrawList &before, const DrawList &after);

} // namespace corvella
