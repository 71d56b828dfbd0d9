#include "platform/layers/BasicAnimation.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

constexpr BasicAnimation<double> kFade{0, 1, 10s, 2s, FillMode::removed, TimingCurve::linear()};

TEST(BasicAnimation, RunsFromItsBeginToItsEnd)
{
    EXPECT_EQ(kFade.value(10s), 0.0);
    EXPECT_EQ(kFade.value(11s), 0.5);
    EXPECT_EQ(kFade.value(11s + 500ms), 0.75);
}

TEST(BasicAnimation, HasNoSayOutsideItsTime)
{
    EXPECT_EQ(kFade.value(9s), std::nullopt);
    EXPECT_EQ(kFade.value(12s), std::nullopt);
}

TEST(BasicAnimation, FilledBackwardsItHoldsItsFirstValueUntilItBegins)
{
    BasicAnimation<double> fade = kFade;
    fade.fillMode = FillMode::backwards;
    EXPECT_EQ(fade.value(0s), 0.0);
    EXPECT_EQ(fade.value(12s), std::nullopt);
}

struct CurvePoint
{
    const char *name;
    TimingCurve curve;
    double time;
    double progress; // worked out from the curve's equation apart from the code
};

class TimingCurves : public testing::TestWithParam<CurvePoint>
{
};

TEST_P(TimingCurves, FollowTheirBezier)
{
    EXPECT_NEAR(GetParam().curve.progress(GetParam().time), GetParam().progress, 5e-4);
}

// Ease-in-ease-out is symmetric. The others: x(t) = time solved for t, then y(t).
INSTANTIATE_TEST_SUITE_P(
    Curves, TimingCurves,
    testing::Values(CurvePoint{"LinearQuarter", TimingCurve::linear(), 0.25, 0.25},
                    CurvePoint{"EaseMiddle", TimingCurve::easeInEaseOut(), 0.5, 0.5},
                    CurvePoint{"EaseQuarter", TimingCurve::easeInEaseOut(), 0.25, 0.12916},
                    CurvePoint{"EaseThreeQuarters", TimingCurve::easeInEaseOut(), 0.75, 0.87084},
                    CurvePoint{"StandardQuarter", TimingCurve::standard(), 0.25, 0.40851},
                    CurvePoint{"StandardMiddle", TimingCurve::standard(), 0.5, 0.80240},
                    CurvePoint{"StandardThreeQuarters", TimingCurve::standard(), 0.75, 0.96046},
                    CurvePoint{"BeforeTheStart", TimingCurve::standard(), -1, 0},
                    CurvePoint{"AfterTheEnd", TimingCurve::standard(), 2, 1}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
