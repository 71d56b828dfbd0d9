#include "Wall/HandOver.h"

#include "platform/layers/PlayerLayer.h"
#include "platform/layers/ShapeLayer.h"
#include "platform/video/VideoPlayer.h"
#include "support/LayerTreeFixture.h"

#include <cmath>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

class HandOver : public test::LayerTreeFixture
{
protected:
    HandOver()
        : LayerTreeFixture({1920, 1080})
    {
        for (PlayerLayer **layer : {&m_from, &m_to}) {
            *layer = m_tree.root().addSublayer(std::make_unique<PlayerLayer>());
            (*layer)->setFrame({0, 0, 1920, 1080});
        }
        m_to->setOpacity(0);
    }

    void begin(Transition style, bool first = false)
    {
        m_from->setOpacity(first ? 0 : 1);
        transition(style, m_tree, *m_from, *m_to, first, [this] { ++m_done; });
    }

    // Moves to this moment after the beginning.
    void at(MediaTime time)
    {
        m_clock.set(m_start + time);
        m_tree.advance();
    }

    double from() { return m_from->presentedOpacity(m_tree.now()); }
    double to() { return m_to->presentedOpacity(m_tree.now()); }

    void expectTheEnd()
    {
        EXPECT_EQ(to(), 1);
        EXPECT_EQ(from(), 0);
        EXPECT_EQ(m_to->mask(), nullptr);
        EXPECT_EQ(m_done, 1);
    }

    MediaTime m_start = m_clock.now();
    PlayerLayer *m_from = nullptr;
    PlayerLayer *m_to = nullptr;
    int m_done = 0;
};

TEST_F(HandOver, ABlinkIsACutWithinTheCall)
{
    begin(Transition::blink);
    expectTheEnd();
    EXPECT_FALSE(m_tree.isAnimating());
}

TEST_F(HandOver, TheVeryFirstBlinkFadesIn)
{
    begin(Transition::blink, true);
    EXPECT_EQ(to(), 0);
    at(300ms);
    EXPECT_NEAR(to(), 0.8024, 1e-3);
    EXPECT_EQ(m_done, 0);
    at(600ms);
    expectTheEnd();
}

TEST_F(HandOver, ACrossfadeTakesSixTenthsOfASecond)
{
    begin(Transition::crossfade);
    EXPECT_EQ(to(), 0);
    EXPECT_EQ(from(), 1);
    at(300ms);
    EXPECT_NEAR(to(), 0.8024, 1e-3);
    EXPECT_NEAR(from(), 1 - 0.8024, 1e-3);
    at(599ms);
    EXPECT_EQ(m_done, 0);
    at(600ms);
    expectTheEnd();
}

TEST_F(HandOver, ThroughBlackIsOutThenIn)
{
    begin(Transition::black);
    at(175ms);
    EXPECT_NEAR(from(), 1 - 0.8024, 1e-3);
    EXPECT_EQ(to(), 0);
    at(350ms);
    EXPECT_EQ(from(), 0);
    EXPECT_EQ(to(), 0);
    at(525ms);
    EXPECT_NEAR(to(), 0.5, 1e-6) << "in is linear";
    at(700ms);
    EXPECT_EQ(to(), 1);
    at(749ms);
    EXPECT_EQ(m_done, 0);
    at(750ms);
    expectTheEnd();
}

TEST_F(HandOver, TheFirstThroughBlackFadesInAtOnce)
{
    begin(Transition::black, true);
    EXPECT_EQ(to(), 0);
    at(175ms);
    EXPECT_NEAR(to(), 0.5, 1e-6);
    at(399ms);
    EXPECT_EQ(m_done, 0);
    at(400ms);
    expectTheEnd();
}

TEST_F(HandOver, ACircleGrowsFromADotToTheCorners)
{
    begin(Transition::circle);
    EXPECT_EQ(from(), 1);
    EXPECT_EQ(to(), 1);
    ASSERT_NE(m_to->mask(), nullptr);
    EXPECT_EQ(m_to->mask()->presentedPath(m_tree.now()),
              (ShapePath{ShapePath::Kind::ellipse, {959, 539, 2, 2}}));
    at(225ms); // radius from 1 to 1101.45; it begins slowly: 12.916 % of the way
    EXPECT_NEAR(m_to->mask()->presentedPath(m_tree.now()).rect.width() / 2, 143.1, 0.1);
    at(450ms);
    EXPECT_NEAR(m_to->mask()->presentedPath(m_tree.now()).rect.width() / 2, 551.2, 0.1);
    EXPECT_EQ(from(), 1) << "the old clip stays beneath";
    at(899ms);
    EXPECT_EQ(m_done, 0);
    EXPECT_NEAR(m_to->mask()->path().rect.width() / 2, 1101.45, 0.01);
    at(900ms);
    expectTheEnd();
}

TEST_F(HandOver, AWipeRunsFromLeftToRight)
{
    begin(Transition::wipe);
    EXPECT_EQ(m_to->mask()->presentedPath(m_tree.now()).rect, QRectF(0, 0, 0, 1080));
    at(150ms);
    EXPECT_NEAR(m_to->mask()->presentedPath(m_tree.now()).rect.width(), 248.0, 0.1) << "slowly";
    at(300ms);
    EXPECT_NEAR(m_to->mask()->presentedPath(m_tree.now()).rect.width(), 960, 0.01);
    at(599ms);
    EXPECT_EQ(m_done, 0);
    at(600ms);
    expectTheEnd();
}

TEST_F(HandOver, TheNewClipLiesAboveTheOldWhicheverWasMadeFirst)
{
    std::swap(m_from, m_to);
    m_to->setOpacity(0);
    begin(Transition::circle);
    m_from->setBackground(Qt::red);
    m_to->setBackground(Qt::blue);
    const DrawList items = drawList(m_tree, m_tree.now());
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[1].source, m_to);
}

// Clips that are stepped through faster than they take each other's place.
class QuickHandOvers : public HandOver
{
protected:
    // The clip of no file never shows; the layers take it for one as good as any.
    void put(PlayerLayer &layer)
    {
        layer.setPlayer(
            std::make_shared<VideoPlayer>(QString(), layer.pictureBounds(), m_tree.clock()));
    }
    // From one clip to the next, and half way from that to a third in the place of the first.
    void beginTwo()
    {
        put(*m_from);
        put(*m_to);
        begin(Transition::circle);
        at(450ms);
        put(*m_from);
        transition(Transition::circle, m_tree, *m_to, *m_from, false, [this] { ++m_done; });
    }
    void beginThird(Transition style)
    {
        put(*m_to);
        transition(style, m_tree, *m_from, *m_to, false, [this] { ++m_done; });
    }
};

TEST_F(QuickHandOvers, EndWithTheLastClip)
{
    beginTwo();
    at(900ms); // where the first would have been over
    EXPECT_EQ(from(), 1);
    EXPECT_NE(m_from->mask(), nullptr) << "it still grows";
    at(1350ms);
    EXPECT_EQ(from(), 1);
    EXPECT_EQ(m_from->mask(), nullptr);
    EXPECT_EQ(to(), 0);
    EXPECT_EQ(m_done, 2);
}

TEST_F(QuickHandOvers, LeaveNoMaskOfAnEarlierOne)
{
    beginTwo();
    at(600ms);
    beginThird(Transition::crossfade);
    EXPECT_EQ(m_to->mask(), nullptr);
}

TEST_F(QuickHandOvers, KeepTheirOwnMask)
{
    beginTwo();
    at(600ms);
    beginThird(Transition::circle);
    at(900ms);
    EXPECT_NE(m_to->mask(), nullptr);
}

} // namespace
} // namespace corvella
