#include "platform/layers/LayerTree.h"

#include "platform/layers/ShapeLayer.h"
#include "platform/layers/Transaction.h"
#include "support/LayerTreeFixture.h"

#include <QRegion>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

class LayerTreeTest : public test::LayerTreeFixture
{
protected:
    LayerTreeTest()
        : LayerTreeFixture({200, 100}, 2)
    {
    }

    DrawList list() { return drawList(m_tree, m_tree.now()); }
};

TEST_F(LayerTreeTest, FramesCountFromTheBottomLeftInPoints)
{
    add({10, 20, 30, 40}, Qt::red);
    const DrawList items = list();
    ASSERT_EQ(items.size(), 1U);
    // 100 points high at 2 pixels a point: the top edge is 100 - 20 - 40 = 40 points down.
    EXPECT_EQ(items[0].rect, QRectF(20, 80, 60, 80));
}

TEST_F(LayerTreeTest, SublayersLieInTheirLayersCoordinates)
{
    Layer *box = add({100, 10, 50, 50}, Qt::white);
    Layer *inner = box->addSublayer(std::make_unique<Layer>());
    inner->setFrame({7, 7, 36, 36});
    inner->setBackground(Qt::black);
    const DrawList items = list();
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[1].rect, QRectF(214, (100 - 17 - 36) * 2, 72, 72));
}

TEST_F(LayerTreeTest, ALayerRaisedAboveAnotherIsDrawnAfterIt)
{
    Layer *lower = add({0, 0, 10, 10}, Qt::red);
    Layer *upper = add({0, 0, 10, 10}, Qt::green);
    Layer *top = add({0, 0, 10, 10}, Qt::blue);
    lower->raiseAbove(*upper);
    DrawList items = list();
    EXPECT_EQ(items[0].source, upper);
    EXPECT_EQ(items[1].source, lower);
    EXPECT_EQ(items[2].source, top);
    lower->raiseAbove(*upper);
    items = list();
    EXPECT_EQ(items[1].source, lower) << "already above: nothing moves";
}

TEST_F(LayerTreeTest, OutsideATransactionOpacityChangesAtOnce)
{
    Layer *layer = add({0, 0, 10, 10}, Qt::red);
    layer->setOpacity(0.25);
    EXPECT_EQ(layer->presentedOpacity(m_tree.now()), 0.25);
    EXPECT_FALSE(m_tree.isAnimating());
}

TEST_F(LayerTreeTest, InATransactionOpacityMovesOnTheStandardCurve)
{
    Layer *layer = add({0, 0, 10, 10}, Qt::red);
    layer->setOpacity(0);
    {
        const Transaction transaction(m_tree, 1s);
        layer->setOpacity(1);
    }
    EXPECT_EQ(layer->opacity(), 1);
    EXPECT_EQ(layer->presentedOpacity(m_tree.now()), 0);
    EXPECT_TRUE(m_tree.isAnimating());
    pass(500ms);
    EXPECT_NEAR(layer->presentedOpacity(m_tree.now()), 0.8024, 1e-3);
    pass(500ms);
    EXPECT_EQ(layer->presentedOpacity(m_tree.now()), 1);
    EXPECT_FALSE(m_tree.isAnimating());
}

TEST_F(LayerTreeTest, AnInterruptedFadeGoesOnFromWhatShows)
{
    Layer *layer = add({0, 0, 10, 10}, Qt::red);
    layer->setOpacity(0);
    {
        const Transaction transaction(m_tree, 1s);
        layer->setOpacity(1);
    }
    pass(500ms);
    const double shown = layer->presentedOpacity(m_tree.now());
    {
        const Transaction transaction(m_tree, 1s);
        layer->setOpacity(0);
    }
    EXPECT_NEAR(layer->presentedOpacity(m_tree.now()), shown, 1e-9);
}

TEST_F(LayerTreeTest, AFadeOutTakesOverFromAFadeInThatIsNotOver)
{
    Layer *const layer = add({0, 0, 8, 8}, Qt::red);
    layer->addAnimation(QStringLiteral("fadeIn"),
                        {0, 1, m_clock.now(), 1s, FillMode::backwards, TimingCurve::standard()});
    pass(500ms);
    {
        const Transaction transaction(m_tree, 1s);
        layer->setOpacity(0);
    }
    pass(999ms);
    EXPECT_NEAR(layer->presentedOpacity(m_clock.now()), 0, 0.01);
}

TEST_F(LayerTreeTest, CompletionComesWhenTheLastAnimationIsOver)
{
    Layer *layer = add({0, 0, 10, 10}, Qt::red);
    int completions = 0;
    {
        Transaction transaction(m_tree, 600ms);
        transaction.setCompletion([&] { ++completions; });
        layer->setOpacity(0);
    }
    pass(599ms);
    EXPECT_EQ(completions, 0);
    pass(1ms);
    EXPECT_EQ(completions, 1);
    pass(10s);
    EXPECT_EQ(completions, 1);
}

TEST_F(LayerTreeTest, CompletionOfAnEmptyTransactionComesAfterItNotInsideIt)
{
    bool completed = false;
    {
        Transaction transaction(m_tree, 1s);
        transaction.setCompletion([&] { completed = true; });
    }
    EXPECT_FALSE(completed);
    pass(0s);
    EXPECT_TRUE(completed);
}

TEST_F(LayerTreeTest, CompletionIsDroppedWithTheTree)
{
    bool completed = false;
    {
        LayerTree tree({10, 10}, 1, RendererKind::raster, m_clock);
        Transaction transaction(tree, 1s);
        transaction.setCompletion([&] { completed = true; });
    }
    m_clock.advance(2s);
    EXPECT_FALSE(completed);
}

TEST_F(LayerTreeTest, AMaskGrowsBetweenItsPaths)
{
    Layer *layer = add({0, 0, 200, 100}, Qt::red);
    auto mask = std::make_unique<ShapeLayer>();
    ShapeLayer *shape = mask.get();
    shape->setPath({ShapePath::Kind::rectangle, {0, 0, 200, 100}});
    layer->setMask(std::move(mask));
    shape->addAnimation(QStringLiteral("reveal"),
                        {{ShapePath::Kind::rectangle, {0, 0, 0, 100}},
                         {ShapePath::Kind::rectangle, {0, 0, 200, 100}},
                         m_tree.now(),
                         1s,
                         FillMode::removed,
                         TimingCurve::linear()});
    pass(250ms);
    ASSERT_TRUE(list()[0].mask);
    EXPECT_EQ(list()[0].mask->rect, QRectF(0, 0, 100, 200)); // a quarter of 400 pixels
    pass(750ms);
    EXPECT_EQ(list()[0].mask->rect, QRectF(0, 0, 400, 200));
}

TEST_F(LayerTreeTest, TransparentLayersAreNotDrawnAtAll)
{
    Layer *layer = add({0, 0, 10, 10}, Qt::red);
    add({0, 0, 10, 10}, Qt::transparent);
    layer->setOpacity(0);
    EXPECT_TRUE(list().empty());
}

TEST_F(LayerTreeTest, OnlyWhatChangedIsDamaged)
{
    add({0, 0, 200, 100}, Qt::black);
    Layer *layer = add({10, 10, 10, 10}, Qt::red);
    const DrawList before = list();
    EXPECT_TRUE(damage(before, list()).isEmpty());
    layer->setFrame({50, 10, 10, 10});
    EXPECT_EQ(damage(before, list()), QRegion(20, 160, 20, 20) + QRegion(100, 160, 20, 20));
}

TEST_F(LayerTreeTest, EveryChangeAsksToBeDrawn)
{
    int asked = 0;
    QObject::connect(&m_tree, &LayerTree::needsDisplay, [&] { ++asked; });
    Layer *layer = add({0, 0, 10, 10}, Qt::red);
    for (const std::function<void()> &change : std::initializer_list<std::function<void()>>{
             [&] { layer->setOpacity(0.5); }, [&] { layer->setBackground(Qt::blue); },
             [&] {
                 layer->setFrame({1, 1, 5, 5});
             },
             [&] { layer->setMask(std::make_unique<ShapeLayer>()); }}) {
        asked = 0;
        change();
        EXPECT_GT(asked, 0);
    }
}

} // namespace
} // namespace corvella
