#include "platform/video/RgbConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace corvella {
namespace {

// A picture of noise, in memory without any room at the end of its planes.
struct Noise
{
    explicit Noise(QSize size)
    {
        std::mt19937 random(1);
        for (size_t i = 0; i < planes.size(); ++i) {
            const QSize of = i == 0 ? size : chromaSize(size);
            planes[i].resize(static_cast<size_t>(of.width()) * static_cast<size_t>(of.height()));
            for (uint8_t &sample : planes[i])
                sample = static_cast<uint8_t>(random());
            picture.planes[i] = {planes[i].data(), of.width(), of};
        }
        picture.displaySize = size;
    }

    std::array<std::vector<uint8_t>, 3> planes;
    Picture picture;
};

struct Standard
{
    ColourMatrix matrix;
    double red, blue; // what they count for in luma, as the standard has it
};

class RgbOfStandard : public testing::TestWithParam<std::tuple<Standard, ColourRange>>
{
};

// Each pixel beside the standard's own formulas, in floating point.
TEST_P(RgbOfStandard, IsWhatItsFormulasSay)
{
    const auto [standard, range] = GetParam();
    Noise noise({201, 100});
    noise.picture.matrix = standard.matrix;
    noise.picture.range = range;
    RgbConverter converter;
    const QImage image = converter.rows(noise.picture, {201, 100}, 0, 100);
    ASSERT_EQ(image.size(), QSize(201, 100));
    const bool isFull = range == ColourRange::full;
    const auto clamped = [](double value) { return std::clamp(value * 255, 0.0, 255.0); };
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 201; ++x) {
            const auto sample = [&](size_t plane, int column, int row) {
                const Plane &of = noise.picture.planes[plane];
                return of.data[row * of.bytesPerLine + column];
            };
            const double luma = isFull ? sample(0, x, y) / 255.0 : (sample(0, x, y) - 16) / 219.0;
            const double cb = (sample(1, x / 2, y / 2) - 128) / (isFull ? 255.0 : 224.0);
            const double cr = (sample(2, x / 2, y / 2) - 128) / (isFull ? 255.0 : 224.0);
            const double red = luma + 2 * (1 - standard.red) * cr;
            const double blue = luma + 2 * (1 - standard.blue) * cb;
            const double green = (luma - standard.red * red - standard.blue * blue)
                / (1 - standard.red - standard.blue);
            const QRgb seen = image.pixel(x, y);
            ASSERT_NEAR(qRed(seen), clamped(red), 1) << x << ", " << y;
            ASSERT_NEAR(qGreen(seen), clamped(green), 1) << x << ", " << y;
            ASSERT_NEAR(qBlue(seen), clamped(blue), 1) << x << ", " << y;
            ASSERT_EQ(qAlpha(seen), 255);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, RgbOfStandard,
    testing::Combine(testing::Values(Standard{ColourMatrix::bt601, 0.299, 0.114},
                                     Standard{ColourMatrix::bt709, 0.2126, 0.0722},
                                     Standard{ColourMatrix::bt2020, 0.2627, 0.0593}),
                     testing::Values(ColourRange::limited, ColourRange::full)));

struct Showing
{
    const char *name;
    QSize from;
    QSize to;
};

class RgbRows : public testing::TestWithParam<Showing>
{
};

// However the rows are asked for, they are the same.
TEST_P(RgbRows, AreThoseOfTheWholePicture)
{
    const Noise noise(GetParam().from);
    const QSize size = GetParam().to;
    RgbConverter converter;
    const QImage whole = converter.rows(noise.picture, size, 0, size.height()).copy();
    ASSERT_EQ(whole.size(), size);
    for (const int step : {1, 7, 16, 35}) {
        for (int y = 0; y < size.height(); y += step) {
            const int count = std::min(step, size.height() - y);
            ASSERT_EQ(converter.rows(noise.picture, size, y, count),
                      whole.copy(0, y, size.width(), count))
                << count << " from " << y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, RgbRows,
                         testing::Values(Showing{"ThePictureAsItIs", {64, 48}, {64, 48}},
                                         Showing{"AnOddPictureAsItIs", {33, 47}, {33, 47}},
                                         Showing{"AnEnlargedPicture", {64, 48}, {101, 77}},
                                         Showing{"AWiderPicture", {33, 47}, {80, 47}},
                                         Showing{"ASinglePixel", {1, 1}, {40, 30}},
                                         Showing{"ASmallerPicture", {64, 48}, {40, 30}},
                                         Showing{"AFlatterPicture", {64, 48}, {100, 30}}),
                         [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
