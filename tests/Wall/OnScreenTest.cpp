#include "Wall/OnScreen.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

class OnScreenTest : public testing::Test
{
protected:
    void TearDown() override
    {
        for (const int &view : m_views)
            OnScreen::release(&view);
    }

    const QString m_a = QStringLiteral("171");
    const QString m_b = QStringLiteral("304");
    int m_views[3] = {}; // only their addresses matter
};

TEST_F(OnScreenTest, AViewsOwnClaimIsNotElsewhere)
{
    OnScreen::claim(m_a, &m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[0]), QSet<QString>());
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>{m_a});
}

TEST_F(OnScreenTest, TwoViewsWithOneProductCountOnce)
{
    OnScreen::claim(m_a, &m_views[0]);
    OnScreen::claim(m_a, &m_views[1]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[2]), QSet<QString>{m_a});
}

TEST_F(OnScreenTest, ANewClaimTakesTheOldOnesPlace)
{
    OnScreen::claim(m_a, &m_views[0]);
    OnScreen::claim(m_b, &m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>{m_b});
}

TEST_F(OnScreenTest, ReleasedIsGoneAndReleasingTwiceIsNoError)
{
    OnScreen::claim(m_a, &m_views[0]);
    OnScreen::release(&m_views[0]);
    OnScreen::release(&m_views[0]);
    EXPECT_EQ(OnScreen::heldElsewhere(&m_views[1]), QSet<QString>());
}

} // namespace
} // namespace corvella
