#include "platform/layers/RasterRenderer.h"

#include "platform/layers/GradientLayer.h"
#include "platform/layers/ShapeLayer.h"
#include "support/LayerTreeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

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
        QRegion region = m_renderer.advance(drawList(m_tree, m_tree.now()));
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

// Displays of 16 and of 30 bits a pixel, and those whose red and blue lie the other way round.
class RasterTarget : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(RasterTarget, ShowsAPictureInItsOwnKindOfPixels)
{
    constexpr int kSide = 64;
    // Limited range of BT.709: from black to white from left to right, and reddish all over.
    std::vector<uint8_t> luma(size_t{kSide} * kSide);
    for (size_t i = 0; i < luma.size(); ++i)
        luma[i] = static_cast<uint8_t>(16 + i % kSide * 3);
    const std::vector<uint8_t> cb(luma.size() / 4, 100);
    const std::vector<uint8_t> cr(luma.size() / 4, 160);
    DrawItem item;
    item.rect = item.pictureRect = QRect(0, 0, kSide, kSide);
    item.picture.planes = {Plane{luma.data(), kSide, {kSide, kSide}},
                           Plane{cb.data(), kSide / 2, {kSide / 2, kSide / 2}},
                           Plane{cr.data(), kSide / 2, {kSide / 2, kSide / 2}}};
    item.picture.displaySize = {kSide, kSide};
    item.serial = 1;

    // With as much behind the target as it has itself.
    const QImage plain(kSide, kSide, GetParam());
    std::vector<uchar> memory(2 * static_cast<size_t>(plain.sizeInBytes()), 0xa5);
    QImage target(memory.data(), kSide, kSide, plain.bytesPerLine(), GetParam());
    RasterRenderer renderer;
    renderer.paint(target, renderer.advance({item}));

    const int tolerance = GetParam() == QImage::Format_RGB16 ? 9 : 2;
    const auto level = [](double value) { return std::clamp(value * 255, 0.0, 255.0); };
    for (int x = 0; x < kSide; ++x) {
        const double y = x * 3 / 219.0;
        const double blue = (100 - 128) / 224.0;
        const double red = (160 - 128) / 224.0;
        const QColor seen = target.pixelColor(x, x);
        EXPECT_NEAR(seen.red(), level(y + 1.5748 * red), tolerance) << x;
        EXPECT_NEAR(seen.green(), level(y - 0.1873 * blue - 0.4681 * red), tolerance) << x;
        EXPECT_NEAR(seen.blue(), level(y + 1.8556 * blue), tolerance) << x;
    }
    EXPECT_TRUE(std::all_of(memory.begin() + plain.sizeInBytes(), memory.end(),
                            [](uchar byte) { return byte == 0xa5; }));
}

INSTANTIATE_TEST_SUITE_P(Formats, RasterTarget,
                         testing::Values(QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied,
                                         QImage::Format_RGB16, QImage::Format_RGB30,
                                         QImage::Format_BGR30, QImage::Format_RGBX8888));

} // namespace
} // namespace corvella
