#include "Wall/WallOverlays.h"

#include "platform/layers/GradientLayer.h"
#include "support/LayerTreeFixture.h"

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
    pass(1200ms);
    EXPECT_EQ(captionOpacity(), 0.85);
    EXPECT_EQ(scrimOpacity(), 1);
    pass(4799ms);
    EXPECT_EQ(captionOpacity(), 0.85);
    pass(1ms); // 6.0 s: it begins to fade
    pass(600ms);
    EXPECT_LT(captionOpacity(), 0.3);
    EXPECT_GT(captionOpacity(), 0);
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
