#include "Wall/QrBox.h"

#include "support/CodeScanner.h"
#include "support/LayerTreeFixture.h"

namespace corvella {
namespace {

const QByteArray kLink =
    "https://corvella.example/?utm_source=corvella&d=2025-03-01&t=09:05&wl=171";

TEST(QrCode, HasAsManyModulesAsTheTextNeedsAtMediumCorrection)
{
    // 73 bytes need version 5 at level M (84 bytes; version 4 has 62): 37 modules, and the margin.
    EXPECT_EQ(qrCode(kLink).size(), QSize(39, 39));
    // 14 bytes are the most for version 1, of 21 modules; version 2 has 25.
    EXPECT_EQ(qrCode("01234567890123").size(), QSize(23, 23));
    EXPECT_EQ(qrCode("012345678901234").size(), QSize(27, 27));
}

// The two format bits of the correction level, beside the upper left finder, are 00 for M; the
// format is stored under the mask 101010000010010, so 10 shows, dark and light.
TEST(QrCode, KeepsTheLevelThatWasAskedForWhenAHigherOneWouldFit)
{
    const QImage code = qrCode("a");
    EXPECT_EQ(qGray(code.pixel(1, 9)), 0);
    EXPECT_EQ(qGray(code.pixel(2, 9)), 255);
}

TEST(QrCode, IsNoneForMoreThanACodeHolds)
{
    EXPECT_FALSE(qrCode(QByteArray(2331, 'x')).isNull()); // the most at level M
    EXPECT_TRUE(qrCode(QByteArray(2332, 'x')).isNull());
}

struct Size
{
    const char *name;
    double side; // points
    double scale;
};

class QrBoxAt : public testing::TestWithParam<Size>
{
protected:
    // The box alone on black, away from the edges, between whole points.
    QImage picture()
    {
        const double side = GetParam().side;
        LayerTree tree({side + 80, side + 80}, GetParam().scale, RendererKind::raster, m_clock);
        tree.root().setBackground(Qt::black);
        auto *const box = tree.root().addSublayer(std::make_unique<QrBox>());
        box->setFrame({40.3, 39.6, side, side});
        box->setCode(qrCode(kLink));
        box->setOpacity(0.88);
        return test::painted(tree);
    }

    test::ManualMediaClock m_clock;
};

TEST_P(QrBoxAt, ReadsBack)
{
    EXPECT_EQ(test::scannedCodes(picture()), QList<QByteArray>{kLink});
}

TEST_P(QrBoxAt, HasSharpEdges)
{
    const QImage image = picture();
    const double scale = GetParam().scale;
    // The inner part, without the rounded corners: what is there is the card or a module.
    const int from = qRound((40 + 9) * scale);
    const int to = qRound((40 + GetParam().side - 9) * scale);
    for (int y = from; y < to; ++y) {
        for (int x = from; x < to; ++x) {
            const int grey = qGray(image.pixel(x, y));
            ASSERT_TRUE(grey == 0 || std::abs(grey - 224) <= 1) // 88 % of white over black
                << x << ' ' << y << ' ' << grey;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, QrBoxAt,
                         testing::Values(Size{"FullHd", 108, 1}, Size{"Between", 90, 1.25},
                                         Size{"Double", 108, 2}, Size{"Triple", 72, 3},
                                         Size{"FourK", 216, 1}),
                         [](const auto &test) { return test.param.name; });

class QrBoxTest : public test::LayerTreeFixture
{
protected:
    QrBoxTest()
        : LayerTreeFixture({100, 100})
    {
        m_tree.root().setBackground(QColor(0, 0, 100));
    }
};

TEST_F(QrBoxTest, IsAWhiteCardWithRoundedCornersAndSevenPointsAroundTheCode)
{
    auto *const box = m_tree.root().addSublayer(std::make_unique<QrBox>());
    box->setFrame({0, 0, 100, 100});
    box->setOpacity(1);
    EXPECT_EQ(test::painted(m_tree).pixelColor(50, 50), QColor(0, 0, 100)) << "nothing to show yet";
    QImage dark(10, 10, QImage::Format_RGB32);
    dark.fill(Qt::black);
    box->setCode(dark);
    const QImage image = test::painted(m_tree);
    EXPECT_EQ(image.pixelColor(0, 0), QColor(0, 0, 100));
    EXPECT_EQ(image.pixelColor(0, 50), QColor(Qt::white));
    EXPECT_EQ(image.pixelColor(6, 50), QColor(Qt::white));
    EXPECT_EQ(image.pixelColor(7, 50), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(50, 92), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(50, 93), QColor(Qt::white));
    // The corner's circle is at 6, 6: 1.76 points inwards on the diagonal.
    EXPECT_EQ(image.pixelColor(2, 2), QColor(Qt::white));
    EXPECT_NE(image.pixelColor(1, 0), QColor(Qt::white));
}

} // namespace
} // namespace corvella
