// A test with a layer tree of its own, on a clock that it sets.
#pragma once

#include "platform/layers/DrawList.h"
#include "platform/layers/LayerTree.h"
#include "platform/layers/RasterRenderer.h"
#include "support/ManualMediaClock.h"

#include <gtest/gtest.h>

namespace corvella::test {

// What a tree looks like at this moment; magenta where it draws nothing.
inline QImage painted(LayerTree &tree)
{
    QImage image((tree.size() * tree.scale()).toSize(), QImage::Format_RGB32);
    image.fill(Qt::magenta);
    RasterRenderer renderer;
    renderer.paint(image, renderer.advance(drawList(tree, tree.now())));
    return image;
}

class LayerTreeFixture : public testing::Test
{
protected:
    // Size in points, `scale` in pixels per point.
    explicit LayerTreeFixture(QSizeF size, double scale = 1)
        : m_tree(size, scale, RendererKind::raster, m_clock)
    {
    }

    // Puts a layer of one colour above all others.
    Layer *add(const QRectF &frame, const QColor &colour)
    {
        Layer *layer = m_tree.root().addSublayer(std::make_unique<Layer>());
        layer->setFrame(frame);
        layer->setBackground(colour);
        return layer;
    }

    // Lets time go by, and what is due in it happen.
    void pass(MediaTime time)
    {
        m_clock.advance(time);
        m_tree.advance();
    }

    ManualMediaClock m_clock;
    LayerTree m_tree;
};

} // namespace corvella::test
