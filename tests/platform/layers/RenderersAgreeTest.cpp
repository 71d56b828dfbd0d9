// The two renderers draw the same tree: GL in software on a real X server, raster in memory.
#include "Wall/HandOver.h"
#include "Wall/QrBox.h"
#include "Wall/WallOverlays.h"
#include "platform/layers/DrawList.h"
#include "platform/layers/GlRenderer.h"
#include "platform/layers/GradientLayer.h"
#include "platform/layers/LayerTree.h"
#include "platform/layers/PlayerLayer.h"
#include "platform/layers/RasterRenderer.h"
#include "platform/layers/TextLayer.h"
#include "platform/video/VideoPlayer.h"
#include "shell/CloseButton.h"
#include "shell/ModeBadge.h"
#include "support/ManualMediaClock.h"
#include "support/StockedHome.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPainter>
#include <QTemporaryDir>

#include <cmath>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

constexpr QSize kSize(640, 360);

// How far two pictures are apart: the mean difference of a channel, and the share of pixels that
// are clearly unlike all their neighbours in the other picture, which no smoothing of an edge
// explains.
struct Difference
{
    double mean = 0;
    double clearly = 0;
};

constexpr int kClear = 24; // of 255

int apart(const QColor &p, const QColor &q)
{
    return std::max({std::abs(p.red() - q.red()), std::abs(p.green() - q.green()),
                     std::abs(p.blue() - q.blue())});
}

int apartFromNeighbours(const QImage &a, const QImage &b, int x, int y)
{
    int least = 255;
    for (int v = std::max(y - 1, 0); v <= std::min(y + 1, b.height() - 1); ++v)
        for (int u = std::max(x - 1, 0); u <= std::min(x + 1, b.width() - 1); ++u)
            least = std::min(least, apart(a.pixelColor(x, y), b.pixelColor(u, v)));
    return least;
}

Difference difference(const QImage &a, const QImage &b)
{
    double sum = 0;
    int clear = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const int here = apart(a.pixelColor(x, y), b.pixelColor(x, y));
            sum += here;
            clear += here > kClear && apartFromNeighbours(a, b, x, y) > kClear ? 1 : 0;
        }
    }
    const double pixels = static_cast<double>(a.width()) * a.height();
    return {sum / pixels, clear / pixels};
}

int mostApart(const QImage &a, const QImage &b)
{
    int most = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            most = std::max(most, apart(a.pixelColor(x, y), b.pixelColor(x, y)));
    return most;
}

// The largest share of pixels clearly unlike in any of the squares that two pictures are made of.
double clearlyInATile(const QImage &a, const QImage &b)
{
    constexpr int kTile = 40;
    double most = 0;
    for (int y = 0; y < a.height(); y += kTile) {
        for (int x = 0; x < a.width(); x += kTile) {
            const QRect tile(x, y, kTile, kTile);
            most = std::max(most, difference(a.copy(tile), b.copy(tile)).clearly);
        }
    }
    return most;
}

class RenderersAgree : public testing::Test
{
protected:
    void SetUp() override
    {
        m_surface.create();
        ASSERT_TRUE(m_context.create());
        ASSERT_TRUE(m_context.makeCurrent(&m_surface));
    }

    void TearDown() override { m_context.doneCurrent(); }

    QImage rasterPicture(LayerTree &tree)
    {
        QImage image(kSize, QImage::Format_RGB32);
        RasterRenderer renderer;
        const QRegion region = renderer.advance(drawList(tree, tree.now()));
        image.fill(Qt::black);
        renderer.paint(image, region);
        return image;
    }

    QImage glPicture(LayerTree &tree, GlRenderer &renderer)
    {
        QOpenGLFramebufferObject buffer(kSize);
        buffer.bind();
        renderer.paint(drawList(tree, tree.now()), kSize);
        // paint() draws for a window, whose first line is at the top: so does toImage().
        QImage image = buffer.toImage().convertToFormat(QImage::Format_RGB32);
        buffer.release();
        return image;
    }

    // The same tree for each renderer.
    struct Trees
    {
        explicit Trees(const MediaClock &clock, double scale = 1)
            : raster(QSizeF(kSize) / scale, scale, RendererKind::raster, clock)
            , gl(QSizeF(kSize) / scale, scale, RendererKind::gl, clock)
        {
            EXPECT_EQ(glRenderer.initialise(), std::nullopt);
        }
        LayerTree raster;
        LayerTree gl;
        GlRenderer glRenderer; // one to a tree, as a window has it
    };

    void expectAgreement(const std::function<void(LayerTree &)> &build, double scale = 1)
    {
        Trees trees(m_clock, scale);
        build(trees.raster);
        build(trees.gl);
        expectAgreement(trees);
    }

    // On what they show at this moment.
    void expectAgreement(Trees &trees)
    {
        const QImage a = rasterPicture(trees.raster);
        const QImage b = glPicture(trees.gl, trees.glRenderer);
        const Difference seen = difference(a, b);
        EXPECT_LT(seen.mean, 1.5);
        EXPECT_LT(seen.clearly, 0.002);
        EXPECT_LT(clearlyInATile(a, b), 0.03) << "something small is not the same";
        int lit = 0;
        for (int x = 0; x < kSize.width(); x += 8)
            for (int y = 0; y < kSize.height(); y += 8)
                lit += a.pixelColor(x, y) != QColor(Qt::black) ? 1 : 0;
        EXPECT_GT(lit, 50) << "two black pictures agree, too";
    }

    // Adds a layer that shows the first picture of a clip.
    PlayerLayer *addClip(LayerTree &tree, const test::TestClip &clip)
    {
        const QString path = m_dir.filePath(QStringLiteral("clip%1.mp4").arg(++m_clips));
        clip.write(path);
        auto *layer = tree.root().addSublayer(std::make_unique<PlayerLayer>());
        layer->setBackground(Qt::black);
        layer->setFrame({QPointF(0, 0), tree.size()});
        auto player = std::make_shared<VideoPlayer>(path, layer->pictureBounds(), m_clock);
        EXPECT_TRUE(test::becomes([&] { return !player->picture().isNull(); }));
        layer->setPlayer(std::move(player));
        return layer;
    }

    // Discs and bars in the colours of the imagery.
    static test::TestClip sunLikeClip()
    {
        test::TestClip clip;
        clip.width = 333; // not a multiple of a plane's padding
        clip.height = 333;
        clip.frames = 1;
        clip.marked = false;
        clip.paint = [](QImage &image, int) {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.fillRect(image.rect(), Qt::black);
            painter.setBrush(QColor(214, 160, 0));
            painter.drawEllipse(QPoint(166, 166), 128, 128);
            painter.setBrush(QColor(200, 40, 10));
            painter.drawEllipse(QPoint(120, 100), 30, 30);
            painter.fillRect(0, 0, 30, 15, Qt::white);
        };
        return clip;
    }

    // Nothing but one colour.
    static test::TestClip blueClip()
    {
        test::TestClip clip = sunLikeClip();
        clip.paint = [](QImage &image, int) { image.fill(QColor(10, 60, 140)); };
        return clip;
    }

    QTemporaryDir m_dir;
    int m_clips = 0;
    test::ManualMediaClock m_clock;
    QOffscreenSurface m_surface;
    QOpenGLContext m_context;
};

TEST_F(RenderersAgree, OnBackgroundsAndOpacity)
{
    expectAgreement([](LayerTree &tree) {
        tree.root().setBackground(Qt::black);
        auto *red = tree.root().addSublayer(std::make_unique<Layer>());
        red->setFrame({100, 50, 300, 200});
        red->setBackground(QColor(200, 40, 10));
        auto *white = tree.root().addSublayer(std::make_unique<Layer>());
        white->setFrame({200, 100, 300, 200});
        white->setBackground(Qt::white);
        white->setOpacity(0.6);
    });
}

TEST_F(RenderersAgree, OnTextAndGradient)
{
    expectAgreement([](LayerTree &tree) {
        tree.root().setBackground(QColor(120, 100, 30));
        auto *scrim = tree.root().addSublayer(std::make_unique<GradientLayer>());
        scrim->setColours(QColor::fromRgbF(0, 0, 0, 0.55F), QColor::fromRgbF(0, 0, 0, 0));
        scrim->setFrame({0, 0, 640, 120});
        auto *text = tree.root().addSublayer(std::make_unique<TextLayer>());
        text->setFont(QFont(), 15);
        text->setText({QStringLiteral("AIA 171 Å  ·  48 HR TO NOV 14, 06:00 PM"), 1.1});
        text->setFrame({20, 20, 600, 22});
        text->setOpacity(0.85);
    });
}

TEST_F(RenderersAgree, OnAClipInEveryCoding)
{
    for (const bool fullRange : {false, true}) {
        for (const auto matrix : {test::TestClip::Matrix::bt709, test::TestClip::Matrix::bt601}) {
            expectAgreement([&](LayerTree &tree) {
                test::TestClip clip = sunLikeClip();
                clip.fullRange = fullRange;
                clip.matrix = matrix;
                addClip(tree, clip);
            });
        }
    }
}

TEST_F(RenderersAgree, OnTurnedClips)
{
    for (const int degrees : {90, 180, 270}) {
        expectAgreement([&](LayerTree &tree) {
            test::TestClip clip = sunLikeClip();
            clip.width = 200;
            clip.rotationDegrees = degrees;
            addClip(tree, clip);
        });
    }
}

struct Style
{
    const char *name;
    Transition style;
    MediaTime time;
};

class HandOverByBoth : public RenderersAgree, public testing::WithParamInterface<Style>
{
};

TEST_P(HandOverByBoth, LooksTheSameFromStartToEnd)
{
    Trees trees(m_clock);
    int done = 0;
    QImage before;
    for (LayerTree *tree : {&trees.raster, &trees.gl}) {
        tree->root().setBackground(Qt::black);
        PlayerLayer *const from = addClip(*tree, sunLikeClip());
        PlayerLayer *const to = addClip(*tree, blueClip());
        to->setOpacity(0);
        if (tree == &trees.raster)
            before = rasterPicture(*tree);
        transition(GetParam().style, *tree, *from, *to, false, [&done] { ++done; });
    }
    const MediaTime start = m_clock.now();
    for (const int quarters : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(quarters);
        m_clock.set(start + GetParam().time * quarters / 4);
        trees.raster.advance();
        trees.gl.advance();
        expectAgreement(trees);
    }
    EXPECT_EQ(done, 2);
    EXPECT_GT(difference(before, rasterPicture(trees.raster)).mean, 20) << "it is another clip";
}

INSTANTIATE_TEST_SUITE_P(OfEveryStyle, HandOverByBoth,
                         testing::Values(Style{"Blink", Transition::blink, 0ms},
                                         Style{"Crossfade", Transition::crossfade, 600ms},
                                         Style{"Black", Transition::black, 750ms},
                                         Style{"Circle", Transition::circle, 900ms},
                                         Style{"Wipe", Transition::wipe, 600ms}),
                         [](const auto &row) { return row.param.name; });

constexpr std::array kScales{1.0, 1.25, 2.0};

TEST_F(RenderersAgree, OnTheOverlaysOfAWall)
{
    test::StockedHome::shared().clear(); // the code's link has its host from the settings
    for (const double scale : kScales) {
        SCOPED_TRACE(scale);
        Trees trees(m_clock, scale);
        std::vector<std::unique_ptr<WallOverlays>> overlays;
        for (LayerTree *tree : {&trees.raster, &trees.gl}) {
            addClip(*tree, sunLikeClip());
            overlays.push_back(
                std::make_unique<WallOverlays>(*tree, QStringLiteral("corvella.example")));
            overlays.back()->layout(tree->size());
            overlays.back()->showCaption(
                {{QStringLiteral("id"), QStringLiteral("171")},
                 {QStringLiteral("updated"), QStringLiteral("2025-03-01T09:05:00Z")}});
        }
        m_clock.advance(600ms);
        expectAgreement(trees); // the caption and its band are fading in
        m_clock.advance(600ms);
        expectAgreement(trees);
        EXPECT_GT(overlays.front()->qrBox().opacity(), 0.5);
    }
}

// The same pixel for pixel: letters that lie between pixels would be blurred by OpenGL alone.
TEST_F(RenderersAgree, OnTheLettersOfAWallAtEveryScale)
{
    for (const double scale : {1.0, 1.25, 2.0, 3.0}) {
        SCOPED_TRACE(scale);
        Trees trees(m_clock, scale);
        for (LayerTree *tree : {&trees.raster, &trees.gl}) {
            WallOverlays overlays(*tree, QStringLiteral("corvella.example"));
            overlays.layout(tree->size());
            overlays.showWaiting(QStringLiteral("AIA 171 Å"));
        }
        const QImage picture = rasterPicture(trees.raster);
        EXPECT_LE(mostApart(picture, glPicture(trees.gl, trees.glRenderer)), 3);
        QImage nothing = picture;
        nothing.fill(Qt::black);
        EXPECT_GT(mostApart(picture, nothing), 200) << "there are letters";
    }
}

TEST_F(RenderersAgree, OnTheChromeOfAWall)
{
    for (const double scale : kScales) {
        for (const double opacity : {0.5, 1.0}) {
            SCOPED_TRACE(testing::Message() << opacity << " at " << scale);
            expectAgreement(
                [&](LayerTree &tree) {
                    addClip(tree, sunLikeClip());
                    auto *button = tree.root().addSublayer(std::make_unique<CloseButton>());
                    button->setFrame({60.5, 60.5, 64, 64});
                    button->setOpacity(opacity);
                    tree.root()
                        .addSublayer(std::make_unique<ModeBadge>(
                            QRectF(160.5, 60.5, 64, 64), QStringLiteral("lock.fill"), QString()))
                        ->setOpacity(opacity);
                },
                scale);
        }
    }
}

} // namespace
} // namespace corvella
