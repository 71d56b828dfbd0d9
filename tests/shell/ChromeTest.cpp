// How the close button and the badge look and answer.
#include "shell/CloseButton.h"
#include "shell/ModeBadge.h"
#include "support/LayerTreeFixture.h"

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

// On mid-grey, so that black and white both show. 64 points at one pixel a point.
class ChromeTest : public test::LayerTreeFixture
{
protected:
    ChromeTest()
        : LayerTreeFixture({64, 64})
    {
        m_tree.root().setBackground(QColor(128, 128, 128));
    }

    QImage picture(std::unique_ptr<Chrome> chrome)
    {
        chrome->setFrame({0, 0, 64, 64});
        m_tree.root().addSublayer(std::move(chrome));
        return test::painted(m_tree);
    }

    static int greyAt(const QImage &image, int x, int y) { return qGray(image.pixel(x, y)); }

    static constexpr int kGround = 128;
    static constexpr int kDisc = 58; // 45 % of the ground
};

TEST_F(ChromeTest, TheButtonsDiscLeavesSixPointsOnEverySide)
{
    const QImage image = picture(std::make_unique<CloseButton>());
    for (const int edge : {5, 58}) {
        EXPECT_EQ(greyAt(image, edge, 32), kGround);
        EXPECT_EQ(greyAt(image, 32, edge), kGround);
    }
    for (const int inside : {6, 57}) {
        EXPECT_NE(greyAt(image, inside, 32), kGround);
        EXPECT_NE(greyAt(image, 32, inside), kGround);
    }
    EXPECT_EQ(greyAt(image, 8, 8), kGround); // outside the disc, inside the square
    EXPECT_NEAR(greyAt(image, 32, 16), kDisc, 1);
}

TEST_F(ChromeTest, TheButtonHasALightRing)
{
    const QImage image = picture(std::make_unique<CloseButton>());
    // 25 points from the middle, 1.5 wide: from 6.25 to 7.75 points.
    EXPECT_GT(greyAt(image, 7, 32), 150);
    EXPECT_NEAR(greyAt(image, 9, 32), kDisc, 1);
}

TEST_F(ChromeTest, TheCrossEndsElevenPointsFromTheMiddle)
{
    const QImage image = picture(std::make_unique<CloseButton>());
    EXPECT_EQ(greyAt(image, 32, 32), 255);
    for (const int sign : {-1, 1}) {
        EXPECT_EQ(greyAt(image, 32 + 10, 32 + sign * 10), 255);
        EXPECT_EQ(greyAt(image, 31 - 10, 31 + sign * 10), 255);
        // The round cap ends 10.92 + 1.75 / sqrt(2) = 12.2 points from the middle, on each axis.
        EXPECT_NEAR(greyAt(image, 32 + 13, 32 + sign * 13), kDisc, 1);
        // So it covers 6.5 % of the point that lies between 12 and 13; with arms of 10.8 points it
        // would be 0.4 %, with arms of 11 13 %.
        const double covered =
            (greyAt(image, sign > 0 ? 44 : 19, 44) - kDisc) / double(255 - kDisc);
        EXPECT_GT(covered, 0.03);
        EXPECT_LT(covered, 0.1);
    }
}

TEST_F(ChromeTest, AButtonAnswersInItsSquareAlone)
{
    CloseButton button;
    button.setFrame({100, 200, 64, 64});
    EXPECT_TRUE(button.hitTest({100, 200}));
    EXPECT_TRUE(button.hitTest({163, 263}));
    EXPECT_FALSE(button.hitTest({99, 230}));
    EXPECT_FALSE(button.hitTest({130, 265}));
    int clicks = 0;
    button.onClick = [&clicks] { ++clicks; };
    button.mouseDown();
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(button.accessibilityLabel(), u"Close the wall"_s);
    EXPECT_EQ(button.accessibilityRole(), QAccessible::Button);
}

TEST_F(ChromeTest, ABadgeShowsAPadlock)
{
    const QImage image =
        picture(std::make_unique<ModeBadge>(QRectF(0, 0, 64, 64), u"lock.fill"_s, u"locked"_s));
    EXPECT_EQ(greyAt(image, 32, 36), 255);        // its body
    EXPECT_NEAR(greyAt(image, 32, 28), kDisc, 1); // within the shackle
    EXPECT_NEAR(greyAt(image, 32, 48), kDisc, 1); // below it
    EXPECT_GT(greyAt(image, 7, 32), 150);         // the ring
    for (int x = 0; x < 32; ++x)
        EXPECT_NEAR(greyAt(image, x, 36), greyAt(image, 63 - x, 36), 2) << "it is symmetrical";
}

TEST_F(ChromeTest, ABadgeOfAnUnknownSymbolIsAnEmptyDisc)
{
    const QImage image =
        picture(std::make_unique<ModeBadge>(QRectF(0, 0, 64, 64), u"no.such"_s, u"x"_s));
    for (int y = 12; y < 52; ++y)
        EXPECT_NEAR(greyAt(image, 32, y), kDisc, 1);
    EXPECT_GT(greyAt(image, 7, 32), 150);
}

TEST_F(ChromeTest, ABadgeIsForLookingAtAlone)
{
    const ModeBadge badge({0, 0, 64, 64}, u"lock.fill"_s, u"Kiosk mode, locked"_s);
    EXPECT_FALSE(badge.hitTest({32, 32}));
    EXPECT_EQ(badge.accessibilityLabel(), u"Kiosk mode, locked"_s);
    EXPECT_EQ(badge.accessibilityRole(), QAccessible::Graphic);
}

} // namespace
} // namespace corvella
