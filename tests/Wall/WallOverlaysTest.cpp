#include "Wall/WallOverlays.h"

#include "Wall/QrBox.h"
#include "platform/layers/GradientLayer.h"
#include "settings/Settings.h"
#include "support/LayerTreeFixture.h"
#include "support/StockedHome.h"

#include <QFontDatabase>
#include <QPainter>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

QJsonObject entry(const QString &label, const QString &updated)
{
    return {{QStringLiteral("id"), QStringLiteral("171")},
            {QStringLiteral("label"), label},
            {QStringLiteral("updated"), updated}};
}

class WallOverlaysTest : public test::LayerTreeFixture
{
protected:
    WallOverlaysTest()
        : LayerTreeFixture({1920, 1080})
    {
        qputenv("TZ", "UTC");
        QLocale::setDefault(QLocale(QStringLiteral("en_US")));
        m_overlays.layout({1920, 1080});
    }

    double captionOpacity() { return m_overlays.caption().presentedOpacity(m_tree.now()); }
    double scrimOpacity() { return m_overlays.scrim().presentedOpacity(m_tree.now()); }

    WallOverlays m_overlays{m_tree, std::nullopt};
};

TEST_F(WallOverlaysTest, NamesTheClipAndItsTime)
{
    m_overlays.showCaption(
        entry(QStringLiteral("AIA 171 Å"), QStringLiteral("2026-11-14T18:00:00Z")));
    EXPECT_EQ(m_overlays.caption().text().text,
              QStringLiteral("AIA 171 Å  ·  48 HR TO NOV 14, 06:00 PM"));
    EXPECT_EQ(m_overlays.caption().text().kerning, 1.1);
}

TEST_F(WallOverlaysTest, WithoutALabelTheIdNamesIt)
{
    m_overlays.showCaption({{QStringLiteral("id"), QStringLiteral("171")}});
    EXPECT_EQ(m_overlays.caption().text().text, QStringLiteral("171  ·  48 HR TO ?"));
    m_overlays.showCaption({});
    EXPECT_EQ(m_overlays.caption().text().text, QStringLiteral("  ·  48 HR TO ?"));
}

TEST_F(WallOverlaysTest, TheCaptionComesStaysAndGoesWithItsBand)
{
    m_overlays.showCaption(entry(QStringLiteral("x"), {}));
    EXPECT_EQ(captionOpacity(), 0);
    pass(600ms); // half way; the standard curve is at 80.24 % then
    EXPECT_NEAR(captionOpacity(), 0.682, 1e-3);
    EXPECT_NEAR(scrimOpacity(), 0.8024, 1e-3);
    pass(600ms);
    EXPECT_EQ(captionOpacity(), 0.85);
    EXPECT_EQ(scrimOpacity(), 1);
    pass(4799ms);
    EXPECT_EQ(captionOpacity(), 0.85);
    pass(1ms); // 6.0 s: it begins to fade
    pass(600ms);
    EXPECT_NEAR(captionOpacity(), 0.168, 1e-3);
    EXPECT_NEAR(scrimOpacity(), 0.1976, 1e-3);
    pass(600ms);
    EXPECT_EQ(captionOpacity(), 0);
    EXPECT_EQ(scrimOpacity(), 0);
}

TEST_F(WallOverlaysTest, ASecondClipSoonAfterKeepsItsOwnSixSeconds)
{
    m_overlays.showCaption(entry(QStringLiteral("one"), {}));
    pass(3s);
    m_overlays.showCaption(entry(QStringLiteral("two"), {}));
    pass(5999ms);
    EXPECT_EQ(captionOpacity(), 0.85);
    pass(1ms);
    pass(600ms);
    EXPECT_LT(captionOpacity(), 0.3);
}

TEST_F(WallOverlaysTest, TheWaitingMessageIsThereAtOnceAndStays)
{
    m_overlays.showCaption(entry(QStringLiteral("one"), {}));
    pass(1s);
    m_overlays.showWaiting(QStringLiteral("the Sun  ·  DOWNLOADING…"));
    EXPECT_EQ(captionOpacity(), 0.85);
    EXPECT_EQ(scrimOpacity(), 1);
    pass(60s);
    EXPECT_EQ(captionOpacity(), 0.85);
}

// Margins of 3 % of the height and 2.2 % of the width, as on the other side.
TEST_F(WallOverlaysTest, TheCaptionLiesAtTheLowerLeftInItsBand)
{
    m_overlays.layout({1000, 1000});
    EXPECT_EQ(m_overlays.caption().frame(), QRectF(22, 30, 660, 22));
    EXPECT_EQ(m_overlays.scrim().frame(), QRectF(0, 0, 1000, 140));
    m_overlays.layout({1000, 500});
    EXPECT_EQ(m_overlays.scrim().frame(), QRectF(0, 0, 1000, 90)) << "never lower";
}

// Black at 55 % over white is grey 115; the band is 151 points high.
TEST_F(WallOverlaysTest, TheBandIsDarkestAtTheBottomAndClearAtItsTop)
{
    m_tree.root().setBackground(Qt::white);
    m_overlays.showWaiting(QString());
    const QImage image = test::painted(m_tree);
    const auto greyAbove = [&image](int fromBottom) {
        return qGray(image.pixel(960, 1079 - fromBottom));
    };
    EXPECT_NEAR(greyAbove(0), 115, 2);
    EXPECT_NEAR(greyAbove(75), 185, 2);
    EXPECT_NEAR(greyAbove(150), 254, 2);
    EXPECT_EQ(greyAbove(152), 255);
}

// The system's font in its regular weight, at this size.
void setSystemFont(TextLayer &layer, double size)
{
    layer.setFont(QFontDatabase::systemFont(QFontDatabase::GeneralFont), size);
}

TEST_F(WallOverlaysTest, TheCaptionIsInTheSystemsFontAtFifteenPoints)
{
    m_overlays.showCaption(entry(QStringLiteral("AIA 171 Å"), {}));
    TextLayer expected;
    setSystemFont(expected, 15);
    expected.setText({QStringLiteral("AIA 171 Å  ·  48 HR TO ?"), 1.1, Qt::white});
    constexpr QSize kPixels(640, 44);
    EXPECT_EQ(m_overlays.caption().contents(kPixels, 2), expected.contents(kPixels, 2));
}

const QString kSite = QStringLiteral("corvella.example");

class Attribution : public test::LayerTreeFixture
{
protected:
    Attribution()
        : LayerTreeFixture({1920, 1080})
    {
        test::StockedHome::shared().clear(); // the link's host is a setting
    }

    static QJsonObject clip()
    {
        return entry(QStringLiteral("AIA 171"), QStringLiteral("2025-03-01T09:05:00Z"));
    }
};

TEST_F(Attribution, IsThereFromTheStartAndTheCodeWithTheFirstClip)
{
    WallOverlays overlays(m_tree, kSite);
    overlays.layout({1920, 1080});
    EXPECT_EQ(overlays.attribution().text(), (AttributedText{kSite, 1.1, Qt::white}));
    EXPECT_EQ(overlays.attribution().opacity(), 0.5);
    EXPECT_EQ(overlays.qrBox().opacity(), 0);
    overlays.showCaption(clip());
    EXPECT_EQ(overlays.qrBox().opacity(), 0.88);
    EXPECT_EQ(overlays.qrBox().code(),
              qrCode("https://corvella.example/"
                     "?utm_source=corvella&d=2025-03-01&t=09:05&wl=171"));
    pass(1h);
    EXPECT_EQ(overlays.qrBox().opacity(), 0.88);
    EXPECT_EQ(overlays.attribution().opacity(), 0.5);
}

TEST_F(Attribution, IsASmallLineAtTheRightWithAShadow)
{
    const WallOverlays overlays(m_tree, kSite);
    TextLayer expected;
    setSystemFont(expected, 12);
    expected.setAlignment(Qt::AlignRight);
    expected.setShadow({QColor::fromRgbF(0, 0, 0, 0.8F), 2, {0, -1}});
    expected.setText({kSite, 1.1, Qt::white});
    constexpr QSize kPixels(800, 36);
    EXPECT_EQ(overlays.attribution().contents(kPixels, 2), expected.contents(kPixels, 2));
}

TEST_F(Attribution, TurnedOffShowsNeither)
{
    WallOverlays overlays(m_tree, std::nullopt);
    overlays.layout({1920, 1080});
    overlays.showCaption(clip());
    EXPECT_EQ(overlays.attribution().opacity(), 0);
    EXPECT_EQ(overlays.attribution().text().text, QString());
    EXPECT_EQ(overlays.qrBox().opacity(), 0);
}

TEST_F(Attribution, TheCodeWaitsForItsPlace)
{
    WallOverlays overlays(m_tree, kSite);
    overlays.showCaption(clip());
    EXPECT_EQ(overlays.qrBox().opacity(), 0);
    overlays.layout({1920, 1080});
    EXPECT_EQ(overlays.qrBox().opacity(), 0.88);
}

TEST_F(Attribution, TheCodeFollowsTheClips)
{
    WallOverlays overlays(m_tree, kSite);
    overlays.layout({1920, 1080});
    overlays.showCaption(clip());
    const QImage first = overlays.qrBox().code();
    overlays.showCaption(entry(QStringLiteral("AIA 171"), QStringLiteral("2025-03-02T09:05:00Z")));
    EXPECT_NE(overlays.qrBox().code(), first);
}

TEST_F(Attribution, ACodeThatCannotBeMadeLeavesTheOneBefore)
{
    WallOverlays overlays(m_tree, kSite);
    overlays.layout({1920, 1080});
    overlays.showCaption(clip());
    const QImage before = overlays.qrBox().code();
    Settings::d().setString(QStringLiteral("storeHost"), QStringLiteral("no host [at all"));
    overlays.showCaption(clip());
    EXPECT_EQ(overlays.qrBox().code(), before);
    EXPECT_EQ(overlays.qrBox().opacity(), 0.88);
}

// Margins of 3 % of the height and 2.2 % of the width; the box of 10 % of the height ends at the
// right one, 26 points above the lower one.
TEST_F(Attribution, LiesAtTheLowerRight)
{
    WallOverlays overlays(m_tree, kSite);
    overlays.layout({1000, 1000});
    EXPECT_EQ(overlays.attribution().frame(), QRectF(578, 30, 400, 18));
    EXPECT_EQ(overlays.qrBox().frame(), QRectF(878, 56, 100, 100));
    overlays.layout({1000, 500});
    EXPECT_EQ(overlays.qrBox().frame(), QRectF(906, 41, 72, 72)) << "never smaller";
}

// Letters are as sharp as the display can show them: as if drawn right onto its pixels.
class Letters : public testing::TestWithParam<double>
{
protected:
    // White on black at this size, where the frame lies on the display; the sizes in points.
    [[nodiscard]] QImage drawnOntoPixels(const QString &text, const QRectF &frame, double size,
                                         Qt::Alignment alignment, double opacity) const
    {
        QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setPixelSize(qRound(size * m_scale));
        font.setLetterSpacing(QFont::AbsoluteSpacing, 1.1 * m_scale);
        QImage letters(m_pixels, QImage::Format_ARGB32_Premultiplied);
        letters.fill(Qt::transparent);
        QPainter onLetters(&letters);
        onLetters.setFont(font);
        onLetters.setPen(Qt::white);
        const QRectF place(frame.x() * m_scale, (kSize.height() - frame.bottom()) * m_scale,
                           frame.width() * m_scale, frame.height() * m_scale);
        onLetters.drawText(place.toRect(), static_cast<int>(alignment | Qt::AlignVCenter), text);
        QImage image(m_pixels, QImage::Format_RGB32);
        image.fill(Qt::black);
        QPainter painter(&image);
        painter.setOpacity(opacity);
        painter.drawImage(0, 0, letters);
        return image;
    }

    static constexpr QSizeF kSize{608, 408};
    const QString m_text = QStringLiteral("AIA 171 Å");
    const double m_scale = GetParam();
    const QSize m_pixels = (kSize * m_scale).toSize();
    test::ManualMediaClock m_clock;
    LayerTree m_tree{kSize, m_scale, RendererKind::raster, m_clock};
};

// Margins of 2.2 % of the width and 3 % of the height, here 13.376 and 12.24 points.
TEST_P(Letters, OfTheCaptionAreSharp)
{
    m_tree.root().setBackground(Qt::black);
    WallOverlays overlays(m_tree, std::nullopt);
    overlays.layout(kSize);
    overlays.showWaiting(m_text);
    EXPECT_EQ(test::painted(m_tree),
              drawnOntoPixels(m_text, {13.376, 12.24, 401.28, 22}, 15, Qt::AlignLeft, 0.85));
}

TEST_P(Letters, OfTheAttributionAreSharp)
{
    m_tree.root().setBackground(Qt::black);
    WallOverlays overlays(m_tree, m_text);
    overlays.layout(kSize);
    EXPECT_EQ(test::painted(m_tree),
              drawnOntoPixels(m_text, {351.424, 12.24, 243.2, 18}, 12, Qt::AlignRight, 0.5));
}

INSTANTIATE_TEST_SUITE_P(AtAScale, Letters, testing::Values(1, 1.25, 2, 3), [](const auto &row) {
    return "OfHundredths" + std::to_string(qRound(row.param * 100));
});

struct Stamp
{
    const char *name;
    std::optional<QString> stamp;
    QString expected;
};

class Pretty : public testing::TestWithParam<Stamp>
{
};

TEST_P(Pretty, MakesAStampReadable)
{
    qputenv("TZ", "America/Denver");
    tzset();
    QLocale::setDefault(QLocale(QStringLiteral("en_US")));
    EXPECT_EQ(WallOverlays::pretty(GetParam().stamp), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Stamps, Pretty,
    testing::Values(Stamp{"None", std::nullopt, QStringLiteral("?")},
                    Stamp{"Empty", QString(), QStringLiteral("?")},
                    Stamp{"Words", QStringLiteral("yesterday"), QStringLiteral("?")},
                    Stamp{"DateOnly", QStringLiteral("2026-11-14"), QStringLiteral("?")},
                    Stamp{"NoZone", QStringLiteral("2026-11-14T18:00:00"), QStringLiteral("?")},
                    Stamp{"Utc", QStringLiteral("2026-11-14T18:00:00Z"),
                          QStringLiteral("Nov 14, 11:00 AM")},
                    Stamp{"Offset", QStringLiteral("2026-11-14T18:00:00+02:00"),
                          QStringLiteral("Nov 14, 09:00 AM")}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace corvella
