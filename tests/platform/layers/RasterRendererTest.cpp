#include "platform/layers/RasterRenderer.h"

#include "platform/layers/GradientLayer.h"
#include "platform/layers/ShapeLayer.h"
#include "support/LayerTreeFixture.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

class RasterRendererTest : public test::LayerTreeFixture
{
protected:
    RasterRendererTest()
        : LayerTreeFixture({100, 100})
    {
    }

    // Draws what changed into m_target and tells where that was.
    QRegion draw()
    {
        const QRegion region = m_renderer.advance(drawList(m_tree, m_tree.now()));
        m_renderer.paint(m_target, region);
        return region;
    }

    RasterRenderer m_renderer;
    QImage m_target{100, 100, QImage::Format_RGB32};
};

TEST_F(RasterRendererTest, DrawsBottomToTop)
{
    add({0, 0, 100, 100}, Qt::red);
    add({0, 0, 50, 50}, Qt::blue);
    draw();
    EXPECT_EQ(m_target.pixelColor(75, 25), QColor(Qt::red));
    EXPECT_EQ(m_target.pixelColor(25, 75), QColor(Qt::blue)) << "the bottom left quarter";
}

TEST_F(RasterRendererTest, HalfOpaqueWhiteOverBlackIsGrey)
{
    add({0, 0, 100, 100}, Qt::black);
    add({0, 0, 100, 100}, Qt::white)->setOpacity(0.5);
    draw();
    EXPECT_NEAR(m_target.pixelColor(50, 50).red(), 128, 1);
}

TEST_F(RasterRendererTest, DrawsNothingOutsideWhatChanged)
{
    add({0, 0, 100, 100}, Qt::black);
    Layer *layer = add({10, 10, 10, 10}, Qt::red);
    draw();
    m_target.fill(Qt::green); // whatever is drawn from now on replaces this
    layer->setBackground(Qt::blue);
    EXPECT_EQ(draw(), QRegion(10, 80, 10, 10));
    EXPECT_EQ(m_target.pixelColor(15, 85), QColor(Qt::blue));
    EXPECT_EQ(m_target.pixelColor(9, 85), QColor(Qt::green));
    EXPECT_EQ(m_target.pixelColor(20, 85), QColor(Qt::green));
}

TEST_F(RasterRendererTest, NothingChangedMeansNothingDrawn)
{
    add({0, 0, 100, 100}, Qt::black);
    draw();
    EXPECT_TRUE(draw().isEmpty());
}

TEST_F(RasterRendererTest, AfterInvalidateEverythingIsDrawn)
{
    add({0, 0, 100, 100}, Qt::red);
    draw();
    m_target.fill(Qt::green);
    m_renderer.invalidate();
    draw();
    EXPECT_EQ(m_target.pixelColor(50, 50), QColor(Qt::red));
}

TEST_F(RasterRendererTest, WhereALayerWasTheOneBelowAppears)
{
    add({0, 0, 100, 100}, Qt::red);
    Layer *layer = add({0, 0, 100, 100}, Qt::blue);
    draw();
    layer->setOpacity(0);
    draw();
    EXPECT_EQ(m_target.pixelColor(50, 50), QColor(Qt::red));
}

TEST_F(RasterRendererTest, ACircleMaskShowsItsInside)
{
    add({0, 0, 100, 100}, Qt::black);
    auto mask = std::make_unique<ShapeLayer>();
    mask->setPath({ShapePath::Kind::ellipse, {30, 30, 40, 40}});
    add({0, 0, 100, 100}, Qt::white)->setMask(std::move(mask));
    draw();
    EXPECT_EQ(m_target.pixelColor(50, 50), QColor(Qt::white));
    EXPECT_EQ(m_target.pixelColor(50, 32), QColor(Qt::white));
    EXPECT_EQ(m_target.pixelColor(50, 28), QColor(Qt::black));
    EXPECT_EQ(m_target.pixelColor(33, 33), QColor(Qt::black))
        << "inside the box, outside the circle";
}

TEST_F(RasterRendererTest, AGradientRunsFromBottomToTop)
{
    auto *scrim = m_tree.root().addSublayer(std::make_unique<GradientLayer>());
    add({0, 0, 0, 0}, Qt::black);
    m_tree.root().setBackground(Qt::white);
    scrim->setColours(QColor::fromRgbF(0, 0, 0, 0.55F), QColor::fromRgbF(0, 0, 0, 0));
    scrim->setFrame({0, 0, 100, 50});
    draw();
    EXPECT_EQ(m_target.pixelColor(50, 40), QColor(Qt::white)) << "above the band";
    EXPECT_NEAR(m_target.pixelColor(50, 52).red(), 250, 5) << "clear at its top";
    EXPECT_NEAR(m_target.pixelColor(50, 75).red(), 184, 4) << "half way: 255 x (1 - 0.275)";
    EXPECT_NEAR(m_target.pixelColor(50, 99).red(), 115, 4) << "255 x (1 - 0.55) at the bottom";

    scrim->setOpacity(0.5);
    draw();
    EXPECT_NEAR(m_target.pixelColor(0, 75).red(), 220, 4) << "half of it: 255 x (1 - 0.1375)";
    EXPECT_NEAR(m_target.pixelColor(99, 99).red(), 185, 4) << "255 x (1 - 0.275)";
    EXPECT_EQ(m_target.pixelColor(99, 49), QColor(Qt::white));
}

TEST_F(RasterRendererTest, RoundedCornersLetTheBackgroundThrough)
{
    m_tree.root().setBackground(Qt::black);
    add({20, 20, 60, 60}, Qt::white)->setCornerRadius(10);
    draw();
    EXPECT_EQ(m_target.pixelColor(20, 20), QColor(Qt::black));
    EXPECT_EQ(m_target.pixelColor(30, 20), QColor(Qt::white));
    EXPECT_EQ(m_target.pixelColor(50, 50), QColor(Qt::white));
}

} // namespace
} // namespace corvella
