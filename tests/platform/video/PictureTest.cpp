#include "platform/video/Picture.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

struct Fit
{
    const char *name;
    QSizeF content;
    QRect bounds;
    QRect expected;
};

class FittedRect : public testing::TestWithParam<Fit>
{
};

TEST_P(FittedRect, KeepsTheShapeAndNeverCrops)
{
    EXPECT_EQ(fittedRect(GetParam().content, GetParam().bounds), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, FittedRect,
    testing::Values(
        Fit{"SquareOnWideScreen", {1024, 1024}, {0, 0, 1920, 1080}, {420, 0, 1080, 1080}},
        Fit{"SquareOnTallScreen", {1024, 1024}, {0, 0, 1080, 1920}, {0, 420, 1080, 1080}},
        Fit{"SquareOn4K", {1024, 1024}, {0, 0, 3840, 2160}, {840, 0, 2160, 2160}},
        Fit{"LargerThanTheScreen", {4096, 4096}, {0, 0, 1920, 1080}, {420, 0, 1080, 1080}},
        Fit{"WideOnWide", {1920, 1080}, {0, 0, 1920, 1080}, {0, 0, 1920, 1080}},
        Fit{"WideOnSquare", {200, 100}, {0, 0, 100, 100}, {0, 25, 100, 50}},
        Fit{"OnePixel", {1, 1}, {0, 0, 1920, 1080}, {420, 0, 1080, 1080}},
        Fit{"SliverKeepsAPixel", {10000, 1}, {0, 0, 100, 100}, {0, 49, 100, 1}},
        Fit{"BoundsElsewhere", {100, 100}, {50, 60, 200, 100}, {100, 60, 100, 100}},
        Fit{"NoContent", {0, 0}, {0, 0, 100, 100}, {}}, Fit{"NoBounds", {10, 10}, {}, {}}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
