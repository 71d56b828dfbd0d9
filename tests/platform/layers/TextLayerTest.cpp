#include "platform/layers/TextLayer.h"

#include "platform/layers/LayerTree.h"
#include "support/LayerTreeFixture.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using test::ManualMediaClock;
using test::painted;

// The columns between the first and the last that hold ink.
struct Ink
{
    int first = -1;
    int last = -1;
    [[nodiscard]] int width() const { return last - first + 1; }
};

Ink inkOf(const QImage &image)
{
    Ink ink;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (qAlpha(image.pixel(x, y)) > 100) {
                ink.first = ink.first < 0 ? x : ink.first;
                ink.last = x;
            }
        }
    }
    return ink;
}

QImage drawn(const AttributedText &text, QSize pixels, double scale,
             Qt::Alignment alignment = Qt::AlignLeft)
{
    TextLayer layer;
    layer.setFont(QFont(), 15);
    layer.setAlignment(alignment);
    layer.setText(text);
    return layer.contents(pixels, scale);
}

TEST(TextLayer, NoTextDrawsNothing)
{
    EXPECT_TRUE(drawn({}, {300, 22}, 1).isNull());
}

TEST(TextLayer, TwiceTheScaleIsTwiceTheWidth)
{
    const AttributedText text{QStringLiteral("AIA 171 Å"), 1.1};
    const int once = inkOf(drawn(text, {300, 22}, 1)).width();
    const int twice = inkOf(drawn(text, {600, 44}, 2)).width();
    EXPECT_GT(once, 40);
    EXPECT_NEAR(twice, 2 * once, 6);
}

TEST(TextLayer, KerningWidensEachGap)
{
    const int tight = inkOf(drawn({QStringLiteral("NNNNNNNNNNN"), 0}, {400, 22}, 1)).width();
    const int wide = inkOf(drawn({QStringLiteral("NNNNNNNNNNN"), 3}, {400, 22}, 1)).width();
    EXPECT_NEAR(wide - tight, 30, 2); // ten gaps of three points
}

TEST(TextLayer, RightAlignedTextEndsAtTheRight)
{
    const Ink ink =
        inkOf(drawn({QStringLiteral("corvella.example")}, {400, 22}, 1, Qt::AlignRight));
    EXPECT_GE(ink.last, 395);
    EXPECT_GT(ink.first, 200);
}

TEST(TextLayer, TextTooWideIsCutAtItsEnd)
{
    const QString lines(400, u'M');
    const Ink ink = inkOf(drawn({lines}, {200, 22}, 1));
    EXPECT_LE(ink.last, 199);
    EXPECT_GE(ink.last, 150);
}

TEST(TextLayer, AShadowLiesBeneathTheText)
{
    TextLayer layer;
    layer.setFont(QFont(), 15);
    layer.setText({QStringLiteral("NASA"), 0, Qt::white});
    const QImage plain = layer.contents({200, 30}, 1);
    layer.setShadow({QColor::fromRgbF(0, 0, 0, 0.8F), 2, {0, -1}});
    const QImage shadowed = layer.contents({200, 30}, 1);
    int darkPixels = 0;
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 200; ++x) {
            if (qAlpha(plain.pixel(x, y)) == 255)
                EXPECT_EQ(shadowed.pixel(x, y), plain.pixel(x, y));
            else if (qAlpha(shadowed.pixel(x, y)) > qAlpha(plain.pixel(x, y)) + 40)
                ++darkPixels;
        }
    }
    EXPECT_GT(darkPixels, 50);
}

// At a fractional scale hardly any layer begins on a whole pixel.
TEST(TextLayer, IsAsSharpBetweenPixelsAsOnThem)
{
    const ManualMediaClock clock;
    const auto shown = [&clock](double x, double y) {
        LayerTree tree({200, 40}, 1.25, RendererKind::raster, clock);
        auto *const layer = tree.root().addSublayer(std::make_unique<TextLayer>());
        layer->setFont(QFont(), 15);
        layer->setText({QStringLiteral("Sun"), 1.1});
        layer->setFrame({x, y, 120, 20});
        return painted(tree);
    };
    EXPECT_EQ(shown(20.2, 8.2), shown(20, 8));
}

} // namespace
} // namespace corvella
