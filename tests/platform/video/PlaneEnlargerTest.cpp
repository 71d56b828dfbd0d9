#include "platform/video/PlaneEnlarger.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace corvella {
namespace {

// A plane without any room at the end of its rows, so that a sanitizer sees every step too far.
struct TestPlane
{
    explicit TestPlane(QSize of)
        : size(of)
        , samples(static_cast<size_t>(of.width()) * static_cast<size_t>(of.height()))
    {
    }

    uint8_t &at(int x, int y)
    {
        return samples[static_cast<size_t>(y) * static_cast<size_t>(size.width())
                       + static_cast<size_t>(x)];
    }

    QSize size;
    std::vector<uint8_t> samples;
};

TestPlane noise(QSize size)
{
    TestPlane plane(size);
    std::mt19937 random(1);
    for (uint8_t &sample : plane.samples)
        sample = static_cast<uint8_t>(random());
    return plane;
}

// The plane enlarged, `rows` rows at a time.
TestPlane enlarged(const TestPlane &plane, QSize to, int rows = 16)
{
    PlaneEnlarger enlarger(plane.size, to);
    const int stride =
        (to.width() + PlaneEnlarger::kBlock - 1) / PlaneEnlarger::kBlock * PlaneEnlarger::kBlock;
    std::vector<uint8_t> strip(static_cast<size_t>(stride * rows));
    TestPlane result(to);
    for (int y = 0; y < to.height(); y += rows) {
        const int count = std::min(rows, to.height() - y);
        enlarger.writeRows(plane.samples.data(), plane.size.width(), y, count, strip.data(),
                           stride);
        for (int row = 0; row < count; ++row)
            std::copy_n(strip.begin() + row * stride, to.width(), &result.at(0, y + row));
    }
    return result;
}

// By the textbook, in floating point: sample centres lie at 0.5, 1.5, ..., and the border goes on.
double linear(TestPlane &plane, int x, int y, QSize to)
{
    const auto place = [](int i, int from, int target) {
        return std::clamp((i + 0.5) * from / target - 0.5, 0.0, from - 1.0);
    };
    const double px = place(x, plane.size.width(), to.width());
    const double py = place(y, plane.size.height(), to.height());
    const int left = static_cast<int>(px);
    const int top = static_cast<int>(py);
    const int right = std::min(left + 1, plane.size.width() - 1);
    const int bottom = std::min(top + 1, plane.size.height() - 1);
    return std::lerp(std::lerp(plane.at(left, top), plane.at(right, top), px - left),
                     std::lerp(plane.at(left, bottom), plane.at(right, bottom), px - left),
                     py - top);
}

struct Sizes
{
    const char *name;
    QSize from;
    QSize to;
};

class PlaneEnlargement : public testing::TestWithParam<Sizes>
{
protected:
    // Every x86-64 processor since 2006 and every arm64 one is served.
    void SetUp() override { ASSERT_TRUE(PlaneEnlarger::serves(GetParam().from, GetParam().to)); }
};

TEST_P(PlaneEnlargement, IsLinearBetweenNeighboursAndStaysAtTheBorder)
{
    TestPlane plane = noise(GetParam().from);
    TestPlane result = enlarged(plane, GetParam().to);
    // Two roundings of half a level each, and weights in 256ths of at most 255 levels, both ways.
    constexpr double kRounding = 3;
    for (int y = 0; y < result.size.height(); ++y) {
        for (int x = 0; x < result.size.width(); ++x)
            ASSERT_NEAR(result.at(x, y), linear(plane, x, y, result.size), kRounding)
                << "at " << x << ", " << y;
    }
}

TEST_P(PlaneEnlargement, IsTheSameInWhateverStrips)
{
    const TestPlane plane = noise(GetParam().from);
    EXPECT_EQ(enlarged(plane, GetParam().to, 7).samples, enlarged(plane, GetParam().to).samples);
}

TEST_P(PlaneEnlargement, KeepsAFlatPlaneFlat)
{
    TestPlane plane(GetParam().from);
    for (const uint8_t level : std::initializer_list<uint8_t>{0, 16, 137, 255}) {
        std::fill(plane.samples.begin(), plane.samples.end(), level);
        const TestPlane result = enlarged(plane, GetParam().to);
        EXPECT_TRUE(std::all_of(result.samples.begin(), result.samples.end(),
                                [level](uint8_t sample) { return sample == level; }))
            << int{level};
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, PlaneEnlargement,
                         testing::Values(Sizes{"AClipOnAFullHdWall", {1024, 64}, {1080, 68}},
                                         Sizes{"ItsChroma", {512, 32}, {540, 34}},
                                         Sizes{"On4K", {1024, 64}, {2160, 135}},
                                         Sizes{"OnlyHigher", {64, 20}, {64, 23}},
                                         Sizes{"OnlyWider", {33, 9}, {49, 9}},
                                         Sizes{"OneSampleMore", {100, 50}, {101, 51}},
                                         Sizes{"ManyTimes", {3, 2}, {301, 77}},
                                         Sizes{"FromASingleSample", {1, 1}, {40, 5}},
                                         Sizes{"ToLessThanABlock", {2, 2}, {5, 5}}),
                         [](const auto &row) { return row.param.name; });

// From 2 to 4 samples the centres lie at -0.25, 0.25, 0.75 and 1.25: quarters of the way.
TEST(PlaneEnlarger, PutsQuartersBetweenTwoSamples)
{
    ASSERT_TRUE(PlaneEnlarger::serves({2, 1}, {4, 1}));
    TestPlane plane({2, 1});
    plane.samples = {0, 200};
    EXPECT_EQ(enlarged(plane, {4, 1}).samples, (std::vector<uint8_t>{0, 50, 150, 200}));
}

TEST(PlaneEnlarger, NeverShrinksASide)
{
    EXPECT_FALSE(PlaneEnlarger::serves({1024, 1024}, {1080, 1023}));
    EXPECT_FALSE(PlaneEnlarger::serves({1024, 1024}, {1023, 1080}));
    EXPECT_FALSE(PlaneEnlarger::serves({0, 0}, {10, 10}));
}

} // namespace
} // namespace corvella
