// A rectangle in a layer tree: background, optional contents, opacity, a mask, and layers above it.
// Main thread only. Geometry is in points with the origin at the bottom left of the layer below;
// how many pixels a point is, the tree knows.
#pragma once

#include "platform/layers/BasicAnimation.h"

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace corvella {

class LayerTree;
class ShapeLayer;

class Layer
{
public:
    Layer();
    virtual ~Layer();
    Layer(const Layer &) = delete;
    Layer &operator=(const Layer &) = delete;

    // Puts a layer above all others of this one and returns it; this layer owns it from now on.
    template <typename AnyLayer> AnyLayer *addSublayer(std::unique_ptr<AnyLayer> layer)
    {
        AnyLayer *const added = layer.get();
        insert(std::move(layer));
        return added;
    }
    // Takes this layer out of the one that owns it, which destroys it.
    void removeFromSuperlayer();
    // Moves this layer right above a sibling. Nothing happens where `sibling` is no sibling.
    void raiseAbove(const Layer &sibling);
    [[nodiscard]] const std::vector<std::unique_ptr<Layer>> &sublayers() const
    {
        return m_sublayers;
    }

    [[nodiscard]] QRectF frame() const { return m_frame; }
    virtual void setFrame(const QRectF &frame);
    [[nodiscard]] QRectF bounds() const { return {QPointF(0, 0), m_frame.size()}; }

    [[nodiscard]] QColor background() const { return m_background; }
    void setBackground(const QColor &colour);

    // 0 to 1. Within a Transaction with animations the change is animated; else it is at once.
    void setOpacity(double opacity);
    [[nodiscard]] double opacity() const { return m_opacity; }
    // What shows at this moment, animations included.
    [[nodiscard]] double presentedOpacity(MediaTime now) const;
    // Runs an animation of the opacity; one with the same key gives way to it.
    void addAnimation(const QString &key, const BasicAnimation<double> &animation);

    // Only what the mask's shape covers is shown. Null removes it.
    void setMask(std::unique_ptr<ShapeLayer> mask);
    [[nodiscard]] ShapeLayer *mask() const { return m_mask.get(); }

    // What is drawn over the background, at `pixels` size: premultiplied, stretched to the frame.
    // Null for none. Kept until the layer changes, so that asking every frame costs nothing.
    [[nodiscard]] const QImage &contents(QSize pixels, double scale) const;
    // Another number for every look of the contents of every layer; 0 for those that never had any.
    [[nodiscard]] quint64 contentsSerial() const { return m_contentsSerial; }

    // The end of the last animation that still runs at this moment in this layer or above it, if
    // any.
    [[nodiscard]] std::optional<MediaTime> animationsEnd(MediaTime now) const;
    // Forgets animations that are over, here and above.
    virtual void dropFinishedAnimations(MediaTime now);

protected:
    // Draws the contents anew; the base has none.
    [[nodiscard]] virtual QImage drawContents(QSize pixels, double scale) const;
    [[nodiscard]] virtual std::optional<MediaTime> ownAnimationsEnd(MediaTime now) const;
    // The contents look different from now on.
    void setNeedsContents();
    // Something other than the contents looks different from now on.
    void setNeedsDisplay();
    [[nodiscard]] LayerTree *tree() const { return m_tree; }

private:
    friend class LayerTree;

    void insert(std::unique_ptr<Layer> layer);
    void joinTree(LayerTree *tree);

    LayerTree *m_tree = nullptr;
    Layer *m_superlayer = nullptr;
    std::vector<std::unique_ptr<Layer>> m_sublayers; // bottom to top
    std::unique_ptr<ShapeLayer> m_mask;

    QRectF m_frame;
    QColor m_background = Qt::transparent;
    double m_opacity = 1;
    std::map<QString, BasicAnimation<double>> m_opacityAnimations;

    quint64 m_contentsSerial = 0;
    mutable QImage m_contents;
    mutable quint64 m_drawnSerial = 0;
    mutable QSize m_drawnPixels;
};

} // namespace corvella
