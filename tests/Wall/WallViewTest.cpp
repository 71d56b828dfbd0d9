#include "Wall/WallView.h"

#include "Wall/OnScreen.h"
#include "platform/video/VideoPlayer.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/LayerTreeFixture.h"
#include "support/StockedHome.h"
#include "support/Waiting.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using test::becomes;

// Clips of 10 pictures at 30 a second: 667 ms each at half speed.
class WallViewTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_home.clear();
        Settings::setTransition(Transition::blink);
        m_log.emplace();
    }

    void TearDown() override
    {
        m_views.clear();
        m_log.reset();
    }

    WallView &view(const QStringList &products = {})
    {
        m_views.push_back(
            std::make_unique<WallView>(QRectF(0, 0, 192, 108), products, 1, std::nullopt,
                                       WallView::Surroundings{RendererKind::raster, m_clock}));
        return *m_views.back();
    }

    template <typename AnyLayer> static std::vector<AnyLayer *> layersOf(WallView &view)
    {
        std::vector<AnyLayer *> layers;
        for (const auto &layer : view.tree().root().sublayers()) {
            if (auto *found = dynamic_cast<AnyLayer *>(layer.get()))
                layers.push_back(found);
        }
        return layers;
    }

    // Lets everything that is due by the clock happen.
    void pump()
    {
        for (const auto &view : m_views) {
            view->tree().advance();
            for (PlayerLayer *layer : layersOf<PlayerLayer>(*view)) {
                if (layer->player())
                    layer->player()->advance();
            }
        }
        QCoreApplication::processEvents();
    }

    // Runs the clock until the condition holds.
    bool runUntil(const std::function<bool()> &condition)
    {
        return becomes(
            [&] {
                m_clock.advance(5ms);
                pump();
                return condition();
            },
            test::kGenerous, 1ms);
    }

    QStringList played()
    {
        QStringList ids;
        for (const QString &message : m_log->messages()) {
            if (message.startsWith(QStringLiteral("playing ")))
                ids << message.mid(8);
        }
        return ids;
    }

    int count(const QString &message) { return static_cast<int>(m_log->messages().count(message)); }

    static QString caption(WallView &view)
    {
        for (const TextLayer *layer : layersOf<TextLayer>(view)) {
            if (!layer->text().text.isEmpty())
                return layer->text().text;
        }
        return {};
    }

    const test::StockedHome &m_home = test::StockedHome::shared();
    test::ManualMediaClock m_clock;
    std::optional<test::CapturedLog> m_log;
    std::vector<std::unique_ptr<WallView>> m_views;
};

const QString kProductA = QStringLiteral("171");
const QString kProductB = QStringLiteral("193");
const QString kProductC = QStringLiteral("304");
const QString kWaiting = QStringLiteral("nothing to play here yet; looking again in 5 s");

TEST_F(WallViewTest, PlaysAtOnce)
{
    m_home.stock({kProductA});
    view();
    EXPECT_EQ(played(), QStringList{kProductA});
}

TEST_F(WallViewTest, ThreeClipsRunFirstThirdFirstThird)
{
    m_home.stock({kProductA, kProductB, kProductC});
    view();
    ASSERT_TRUE(runUntil([&] { return played().size() == 4; }));
    // Each end moves the search two places on; past the end the list is read again.
    EXPECT_EQ(played(), (QStringList{kProductA, kProductC, kProductA, kProductC}));
}

TEST_F(WallViewTest, EachClipPlaysAsOftenAsItIsSetTo)
{
    m_home.stock({kProductA, kProductB});
    Settings::setLoops(3);
    view();
    ASSERT_TRUE(runUntil([&] { return played().size() == 2; }));
    QStringList messages = m_log->messages();
    messages.removeIf( // where the machine has a choice
        [](const QString &message) { return message.startsWith(QLatin1String("decoder: ")); });
    EXPECT_EQ(messages.mid(0, 5),
              (QStringList{QStringLiteral("playing 171"),
                           QStringLiteral("clip ended (loops done 1 of 3)"),
                           QStringLiteral("clip ended (loops done 2 of 3)"),
                           QStringLiteral("clip ended (loops done 3 of 3)"),
                           QStringLiteral("playing 193")}));
}

TEST_F(WallViewTest, WithOneLoopEveryEndIsANewChoice)
{
    m_home.stock({kProductA});
    view();
    ASSERT_TRUE(runUntil([&] { return played().size() == 3; }));
    EXPECT_EQ(count(QStringLiteral("clip ended (loops done 1 of 1)")), 2);
}

// On a real clock, because it is the rate that counts here.
TEST_F(WallViewTest, AClipTakesTwiceItsLength)
{
    m_home.stock({kProductA});
    const SteadyMediaClock clock;
    const WallView wall(QRectF(0, 0, 192, 108), {}, 1, std::nullopt, {RendererKind::raster, clock});
    const auto ended = [&] { return count(QStringLiteral("clip ended (loops done 1 of 1)")); };
    ASSERT_TRUE(becomes([&] { return ended() == 1; }));
    const MediaTime first = clock.now();
    ASSERT_TRUE(becomes([&] { return ended() == 2; }));
    // 10 pictures at 30 a second are 0.33 s: at full speed this, at a quarter of it 1.33 s.
    const double lap = std::chrono::duration<double>(clock.now() - first).count();
    EXPECT_GT(lap, 0.5);
    EXPECT_LT(lap, 1.2);
}

TEST_F(WallViewTest, TheUsersOrderRulesNotTheCaches)
{
    m_home.stock({kProductA, kProductB, kProductC});
    view({kProductC, kProductA});
    EXPECT_EQ(played(), QStringList{kProductC});
    ASSERT_TRUE(runUntil([&] { return played().size() == 2; }));
    EXPECT_EQ(played().last(), kProductA)
        << "past the end the list is read again and a repeat avoided";
}

TEST_F(WallViewTest, ProductsThatAreNotInTheCacheAreLeftOut)
{
    m_home.stock({QStringLiteral("y"), QStringLiteral("z")});
    view({QStringLiteral("x"), QStringLiteral("y")});
    ASSERT_TRUE(runUntil([&] { return played().size() == 3; }));
    EXPECT_EQ(played(),
              (QStringList{QStringLiteral("y"), QStringLiteral("y"), QStringLiteral("y")}));
}

TEST_F(WallViewTest, AllMeansEveryProduct)
{
    m_home.stock({kProductB, kProductA});
    view({QStringLiteral("all")});
    ASSERT_TRUE(runUntil([&] { return played().size() == 2; }));
    EXPECT_EQ(played(), (QStringList{kProductB, kProductA}));
}

TEST_F(WallViewTest, ShuffledEveryProductStillComesInItsTurn)
{
    m_home.stock({kProductA, kProductB, kProductC});
    Settings::setShuffle(true);
    view();
    ASSERT_TRUE(runUntil([&] {
        const QStringList ids = played();
        return ids.contains(kProductA) && ids.contains(kProductB) && ids.contains(kProductC);
    }));
}

TEST_F(WallViewTest, TwoScreensDoNotShowTheSameProduct)
{
    m_home.stock({kProductA, kProductB});
    view();
    view();
    EXPECT_EQ(played(), (QStringList{kProductA, kProductB}));
}

TEST_F(WallViewTest, StoppedItFreesItsProduct)
{
    m_home.stock({kProductA, kProductB});
    WallView &first = view();
    first.stop();
    view();
    EXPECT_EQ(played(), (QStringList{kProductA, kProductA}));
}

TEST_F(WallViewTest, SteppingForwardGoesToTheNextClip)
{
    m_home.stock({kProductA, kProductB, kProductC});
    WallView &wall = view();
    wall.step(+1);
    EXPECT_EQ(played(), (QStringList{kProductA, kProductB}));
    wall.step(+5);
    EXPECT_EQ(played(), (QStringList{kProductA, kProductB, kProductC}))
        << "the size of the step is of no account";
}

TEST_F(WallViewTest, SteppingBackGoesToTheClipBefore)
{
    m_home.stock({kProductA, kProductB, kProductC});
    WallView &wall = view();
    wall.step(+1);
    wall.step(-1);
    EXPECT_EQ(played(), (QStringList{kProductA, kProductB, kProductA}));
    wall.step(-1);
    EXPECT_EQ(played().last(), kProductC) << "before the first comes the last";
}

class SteppingTwice : public WallViewTest, public testing::WithParamInterface<Transition>
{
};

TEST_P(SteppingTwice, WithinOneHandOverEndsWithThePictureUp)
{
    m_home.stock({kProductA, kProductB, kProductC});
    Settings::setTransition(GetParam());
    Settings::setLoops(1000);
    WallView &wall = view();
    const auto middle = [&] { return test::painted(wall.tree()).pixelColor(96, 40).red(); };
    ASSERT_TRUE(runUntil([&] { return middle() > 150; }));
    for (int step = 0; step < 2; ++step) {
        wall.step(+1);
        const MediaTime stepped = m_clock.now();
        ASSERT_TRUE(runUntil([&] { return m_clock.now() - stepped > 350ms; }));
    }
    // Through when only the last clip is left and nothing moves any more.
    const auto isThrough = [&] {
        int withPlayer = 0;
        for (const PlayerLayer *layer : layersOf<PlayerLayer>(wall))
            withPlayer += layer->player() ? 1 : 0;
        return withPlayer == 1 && !wall.tree().isAnimating();
    };
    ASSERT_TRUE(runUntil(isThrough));
    EXPECT_GT(middle(), 150);
}

INSTANTIATE_TEST_SUITE_P(Styles, SteppingTwice, testing::ValuesIn(kAllTransitions),
                         [](const auto &row) { return rawValue(row.param).toStdString(); });

TEST_F(WallViewTest, HandingOverLetsGoOfWhatPlayedBefore)
{
    m_home.stock({kProductA, kProductB});
    Settings::setLoops(1000);
    WallView &wall = view();
    std::vector<std::weak_ptr<VideoPlayer>> players;
    const auto isUp = [&] {
        std::vector<std::shared_ptr<VideoPlayer>> there;
        for (const PlayerLayer *layer : layersOf<PlayerLayer>(wall)) {
            if (layer->player())
                there.push_back(layer->player());
        }
        const bool isNew = there.size() == 1 && !there[0]->picture().isNull()
            && (players.empty() || there[0] != players.back().lock());
        if (isNew)
            players.emplace_back(there[0]);
        return isNew;
    };
    ASSERT_TRUE(runUntil(isUp));
    for (int step = 0; step < 3; ++step) {
        wall.step(+1);
        ASSERT_TRUE(runUntil(isUp));
    }
    players.pop_back();
    EXPECT_TRUE(runUntil([&] {
        return std::all_of(players.begin(), players.end(),
                           [](const auto &player) { return player.expired(); });
    }));
}

TEST_F(WallViewTest, SteppingBeginsTheLoopsAnew)
{
    m_home.stock({kProductA, kProductB});
    Settings::setLoops(3);
    WallView &wall = view();
    ASSERT_TRUE(
        runUntil([&] { return count(QStringLiteral("clip ended (loops done 2 of 3)")) == 1; }));
    wall.step(+1);
    ASSERT_TRUE(
        runUntil([&] { return count(QStringLiteral("clip ended (loops done 1 of 3)")) == 2; }));
}

TEST_F(WallViewTest, WithNothingToPlayItSaysSoAndLooksAgain)
{
    WallView &wall = view({kProductA});
    EXPECT_EQ(caption(wall), QStringLiteral("AIA 171 Å  ·  DOWNLOADING…"));
    EXPECT_EQ(count(kWaiting), 1);
    m_clock.advance(4999ms);
    pump();
    EXPECT_EQ(count(kWaiting), 1);
    m_clock.advance(1ms);
    pump();
    EXPECT_EQ(count(kWaiting), 2);
    m_home.stock({kProductA});
    m_clock.advance(5s);
    pump();
    EXPECT_EQ(played(), QStringList{kProductA});
}

TEST_F(WallViewTest, OfflineItDoesNotPromiseADownload)
{
    Settings::setOffline(true);
    EXPECT_EQ(caption(view({kProductA})),
              QStringLiteral("AIA 171 Å  ·  NOT DOWNLOADED, AND OFFLINE IS ON"));
}

TEST_F(WallViewTest, WithoutAProductOfTheCatalogueItWaitsForTheSun)
{
    EXPECT_EQ(caption(view()), QStringLiteral("the Sun  ·  DOWNLOADING…"));
    EXPECT_EQ(caption(view({QStringLiteral("nosuch")})),
              QStringLiteral("the Sun  ·  DOWNLOADING…"));
}

TEST_F(WallViewTest, StoppedItNeitherLooksAgainNorPlaysOn)
{
    WallView &waiting = view({kProductA});
    waiting.stop();
    m_home.stock({kProductB});
    WallView &playing = view();
    playing.stop();
    const QStringList before = m_log->messages();
    for (int i = 0; i < 400; ++i) { // 20 s
        m_clock.advance(50ms);
        pump();
    }
    EXPECT_EQ(m_log->messages(), before);
}

TEST_F(WallViewTest, AClipThatDoesNotPlayGivesWayToTheNext)
{
    m_home.stock({kProductA, kProductB});
    m_home.write(m_home.clip(kProductA), "this is no clip");
    view();
    ASSERT_TRUE(runUntil([&] { return played().size() == 4; }));
    EXPECT_EQ(played(), (QStringList{kProductA, kProductB, kProductB, kProductB}));
    const QStringList complaints =
        m_log->messages().filter(QStringLiteral("clip does not play, passing it over"));
    EXPECT_EQ(complaints.size(), 1);
}

TEST_F(WallViewTest, WhenNoClipPlaysItWaits)
{
    m_home.stock({kProductA, kProductB});
    for (const QString &id : {kProductA, kProductB})
        m_home.write(m_home.clip(id), {});
    WallView &wall = view();
    ASSERT_TRUE(runUntil([&] { return count(kWaiting) == 3; }));
    EXPECT_EQ(caption(wall), QStringLiteral("the Sun  ·  DOWNLOADING…"));
    EXPECT_EQ(m_log->messages().filter(QStringLiteral("the file is empty")).size(), 2);
}

TEST_F(WallViewTest, AReplacedClipPlaysAgain)
{
    m_home.stock({kProductA});
    const QString path = m_home.clip(kProductA);
    m_home.write(path, "no clip");
    view();
    ASSERT_TRUE(runUntil([&] { return count(kWaiting) == 1; }));
    m_home.stock({kProductA});
    ASSERT_TRUE(runUntil([&] { return played().size() == 3; }));
}

// Looks at every picture between the first and the fourth clip, as often as a 200 Hz display would.
TEST_F(WallViewTest, NoPictureBetweenTwoClipsIsBlack)
{
    m_home.stock({kProductA, kProductB});
    WallView &wall = view();
    RasterRenderer renderer;
    QImage screen(192, 108, QImage::Format_RGB32);
    screen.fill(Qt::black);
    const auto isLit = [&] {
        const QRegion changed = renderer.advance(drawList(wall.tree(), m_clock.now()));
        renderer.paint(screen, changed);
        return screen.pixelColor(96, 40).red() > 150;
    };
    ASSERT_TRUE(runUntil(isLit));
    int dark = 0;
    ASSERT_TRUE(runUntil([&] {
        dark += isLit() ? 0 : 1;
        return played().size() == 6;
    }));
    EXPECT_EQ(dark, 0);
}

TEST_F(WallViewTest, TheFirstBlinkFadesInAndTheOthersCut)
{
    m_home.stock({kProductA, kProductB});
    WallView &wall = view();
    const auto isHalfThere = [&] {
        for (const PlayerLayer *layer : layersOf<PlayerLayer>(wall)) {
            const double opacity = layer->presentedOpacity(m_clock.now());
            if (opacity > 0.05 && opacity < 0.95)
                return true;
        }
        return false;
    };
    const auto stepsOfFades = [&](qsizetype untilClips) {
        int steps = 0;
        EXPECT_TRUE(runUntil([&] {
            steps += isHalfThere() ? 1 : 0;
            return played().size() == untilClips;
        }));
        return steps;
    };
    EXPECT_GT(stepsOfFades(2), 20); // of 5 ms
    EXPECT_EQ(stepsOfFades(4), 0);
}

TEST_F(WallViewTest, TheFirstThroughBlackDoesNotWaitForAnOldOneToFade)
{
    Settings::setTransition(Transition::black);
    m_home.stock({kProductA});
    WallView &wall = view();
    const auto opacity = [&] {
        double most = 0;
        for (const PlayerLayer *layer : layersOf<PlayerLayer>(wall)) {
            if (layer->picture())
                most = std::max(most, layer->presentedOpacity(m_clock.now()));
        }
        return most;
    };
    ASSERT_TRUE(runUntil([&] { return opacity() > 0; }));
    const MediaTime begun = m_clock.now();
    ASSERT_TRUE(runUntil([&] { return opacity() >= 1; }));
    EXPECT_NEAR(std::chrono::duration<double>(m_clock.now() - begun).count(), 0.35, 0.02);
}

TEST_F(WallViewTest, TheNextClipIsThereWhenTheLastOneEnds)
{
    m_home.stock({kProductA, kProductB});
    WallView &wall = view();
    ASSERT_TRUE(runUntil([&] { return played().size() == 2; }));
    // The clip that was chosen at this very step shows its first picture at once.
    int withPicture = 0;
    for (const PlayerLayer *layer : layersOf<PlayerLayer>(wall))
        withPicture += layer->opacity() == 1 && layer->picture() ? 1 : 0;
    EXPECT_EQ(withPicture, 1);
}

TEST_F(WallViewTest, LaysItselfOutAnewWhenItsSizeChanges)
{
    m_home.stock({kProductA});
    WallView &wall = view();
    wall.tree().setSize({400, 300});
    for (const PlayerLayer *layer : layersOf<PlayerLayer>(wall))
        EXPECT_EQ(layer->frame(), QRectF(0, 0, 400, 300));
    for (const TextLayer *layer : layersOf<TextLayer>(wall))
        EXPECT_DOUBLE_EQ(layer->frame().y(), 9); // 0.03 x 300
}

} // namespace
} // namespace corvella
