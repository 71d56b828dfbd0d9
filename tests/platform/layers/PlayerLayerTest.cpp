#include "platform/layers/PlayerLayer.h"

#include "platform/video/VideoPlayer.h"
#include "support/LayerTreeFixture.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

class PlayerLayerTest : public test::LayerTreeFixture
{
protected:
    PlayerLayerTest()
        : LayerTreeFixture({200, 100})
    {
        m_path = m_dir.filePath(QStringLiteral("clip.mp4"));
        test::TestClip clip;
        clip.width = clip.height = 64;
        clip.colour = [](int frame) {
            return frame % 2 == 0 ? QColor(200, 0, 0) : QColor(0, 200, 0);
        };
        clip.marked = false;
        clip.write(m_path);
        m_layer = m_tree.root().addSublayer(std::make_unique<PlayerLayer>());
        m_layer->setBackground(Qt::black);
        m_layer->setFrame({0, 0, 200, 100});
    }

    std::shared_ptr<VideoPlayer> readyPlayer()
    {
        auto player = std::make_shared<VideoPlayer>(m_path, m_layer->pictureBounds(), m_clock);
        EXPECT_TRUE(test::becomes([&] { return !player->picture().isNull(); }));
        return player;
    }

    QImage painted() { return test::painted(m_tree); }

    QTemporaryDir m_dir;
    QString m_path;
    PlayerLayer *m_layer = nullptr;
};

TEST_F(PlayerLayerTest, WithoutAPlayerItIsBlack)
{
    EXPECT_EQ(painted().pixelColor(100, 50), QColor(Qt::black));
}

TEST_F(PlayerLayerTest, ThePictureIsFittedWithBlackBesideIt)
{
    m_layer->setPlayer(readyPlayer());
    const QImage image = painted();
    EXPECT_EQ(image.pixelColor(48, 50), QColor(Qt::black));
    EXPECT_NEAR(image.pixelColor(52, 50).red(), 200, 6);
    EXPECT_NEAR(image.pixelColor(147, 50).red(), 200, 6);
    EXPECT_EQ(image.pixelColor(151, 50), QColor(Qt::black));
    EXPECT_NEAR(image.pixelColor(100, 0).red(), 200, 6);
    EXPECT_NEAR(image.pixelColor(100, 99).red(), 200, 6);
}

TEST_F(PlayerLayerTest, ItAsksToBeDrawnWhenItsPictureChanges)
{
    const auto player = readyPlayer();
    m_layer->setPlayer(player);
    int asked = 0;
    QObject::connect(&m_tree, &LayerTree::needsDisplay, [&] { ++asked; });
    player->play(1);
    m_clock.advance(34ms);
    EXPECT_TRUE(test::becomes([&] {
        player->advance();
        return asked > 0;
    }));
    EXPECT_NEAR(painted().pixelColor(100, 50).green(), 200, 6);
}

TEST_F(PlayerLayerTest, APlayerLetGoAsksNoMore)
{
    const auto player = readyPlayer();
    m_layer->setPlayer(player);
    m_layer->setPlayer(nullptr);
    int asked = 0;
    QObject::connect(&m_tree, &LayerTree::needsDisplay, [&] { ++asked; });
    bool due = false;
    QObject::connect(player.get(), &VideoPlayer::frameDue, [&] { due = true; });
    player->play(1);
    m_clock.advance(34ms);
    EXPECT_TRUE(test::becomes([&] {
        player->advance();
        return due;
    }));
    EXPECT_EQ(asked, 0);
}

TEST_F(PlayerLayerTest, OnAScaledScreenItAsksForThatManyPixels)
{
    LayerTree tree({200, 100}, 2.5, RendererKind::raster, m_clock);
    auto *layer = tree.root().addSublayer(std::make_unique<PlayerLayer>());
    layer->setFrame({0, 0, 200, 100});
    EXPECT_EQ(layer->pictureBounds(), QSize(500, 250));
}

} // namespace
} // namespace corvella
