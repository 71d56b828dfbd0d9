#include "platform/layers/DrawList.h"

#include "platform/layers/LayerTree.h"
#include "platform/layers/PlayerLayer.h"
#include "platform/layers/ShapeLayer.h"

#include <QRegion>

#include <cmath>

namespace corvella {

namespace {

// Collects items while walking the tree, turning bottom-left points into top-left pixels.
class Flattener
{
public:
    Flattener(double heightInPoints, double scale, MediaTime now, DrawList &list)
        : m_height(heightInPoints)
        , m_scale(scale)
        , m_now(now)
        , m_list(list)
    {
    }

    void add(const Layer &layer, QPointF origin, double opacity, std::optional<DrawMask> mask)
    {
        const double own = opacity * layer.presentedOpacity(m_now);
        if (own <= 0)
            return;
        const QRectF frame = layer.frame().translated(origin);
        if (const ShapeLayer *shape = layer.mask()) {
            const ShapePath path = shape->presentedPath(m_now);
            mask = DrawMask{path.kind == ShapePath::Kind::ellipse,
                            toPixels(path.rect.translated(frame.topLeft()))};
        }
        addItem(layer, toPixels(frame), own, mask);
        for (const auto &sublayer : layer.sublayers())
            add(*sublayer, frame.topLeft(), own, mask);
    }

private:
    void addItem(const Layer &layer, const QRectF &rect, double opacity,
                 const std::optional<DrawMask> &mask)
    {
        DrawItem item{rect, opacity, layer.background(),     mask,  {},
                      {},   {},      layer.contentsSerial(), &layer};
        if (const auto *video = dynamic_cast<const PlayerLayer *>(&layer)) {
            if (const Picture *picture = video->picture()) {
                item.picture = *picture;
                item.pictureRect = fittedRect(picture->displaySize, rect.toRect());
            }
            item.serial = video->pictureSerial();
        } else {
            // On whole pixels, since letters and modules would be blurred between them.
            const QRect whole = rect.toRect();
            item.contents = layer.contents(whole.size(), m_scale);
            if (!item.contents.isNull())
                item.rect = whole;
        }
        const bool showsNothing =
            item.background.alpha() == 0 && item.picture.isNull() && item.contents.isNull();
        if (!showsNothing && !rect.isEmpty())
            m_list.push_back(std::move(item));
    }

    [[nodiscard]] QRectF toPixels(const QRectF &points) const
    {
        return {points.x() * m_scale, (m_height - points.y() - points.height()) * m_scale,
                points.width() * m_scale, points.height() * m_scale};
    }

    const double m_height;
    const double m_scale;
    const MediaTime m_now;
    DrawList &m_list;
};

// Whether two items look the same apart from their picture.
bool sameFrame(const DrawItem &a, const DrawItem &b)
{
    return a.source == b.source && a.rect == b.rect && a.opacity == b.opacity
        && a.background == b.background && a.mask == b.mask;
}

} // namespace

QRect DrawItem::touched() const
{
    const QRectF visible = mask ? rect & mask->rect.adjusted(-1, -1, 1, 1) : rect;
    return visible.toAlignedRect();
}

DrawList drawList(const LayerTree &tree, MediaTime now)
{
    DrawList list;
    Flattener(tree.size().height(), tree.scale(), now, list).add(tree.root(), {}, 1, std::nullopt);
    return list;
}

QRegion damage(const DrawList &before, const DrawList &after)
{
    QRegion region;
    const size_t common = std::min(before.size(), after.size());
    for (size_t i = 0; i < common; ++i) {
        const DrawItem &a = before[i];
        const DrawItem &b = after[i];
        if (!sameFrame(a, b))
            region += QRegion(a.touched()) + b.touched();
        else if (a.serial != b.serial)
            region += a.pictureRect.isEmpty() || b.pictureRect.isEmpty() || b.mask
                ? b.touched()
                : a.pictureRect | b.pictureRect;
    }
    for (size_t i = common; i < before.size(); ++i)
        region += before[i].touched();
    for (size_t i = common; i < after.size(); ++i)
        region += after[i].touched();
    return region;
}

} // namespace corvella
