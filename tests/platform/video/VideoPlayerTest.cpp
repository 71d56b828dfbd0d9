#include "platform/video/VideoPlayer.h"

#include "FrameMark.h"
#include "support/ManualMediaClock.h"
#include "support/Processes.h"
#include "support/ShownPicture.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using test::becomes;

// A 10-frame clip at 30 frames a second, played at half speed: a frame every 1/15 s.
class VideoPlayerTest : public testing::Test
{
protected:
    static constexpr MediaTime kInterval = 66'666'667ns;

    void SetUp() override
    {
        m_path = m_dir.filePath(QStringLiteral("clip.mp4"));
        test::TestClip{}.write(m_path);
    }

    std::unique_ptr<VideoPlayer> player()
    {
        return std::make_unique<VideoPlayer>(m_path, QSize(320, 240), m_clock);
    }

    static std::optional<int> number(const VideoPlayer &player)
    {
        if (player.picture().isNull())
            return std::nullopt;
        const QImage image = test::shown(player.picture(), QSize(320, 240));
        return sun::readFrameMark(image, image.rect());
    }

    static bool showsSoon(VideoPlayer &player, int frame)
    {
        return becomes([&] {
            player.advance();
            return number(player) == frame;
        });
    }

    // Moves the clock to the moment at which a frame of the first lap is due, and a hair beyond.
    void moveTo(int frame) { m_clock.set(m_start + frame * kInterval + 1ms); }

    QTemporaryDir m_dir;
    QString m_path;
    test::ManualMediaClock m_clock;
    MediaTime m_start = m_clock.now();
};

TEST_F(VideoPlayerTest, UsesWhatWasLoadedAheadAndKeepsItNoLongerThanItPlays)
{
    const qint64 self = QCoreApplication::applicationPid();
    ASSERT_TRUE(test::clipReadersOf(self).starters.isEmpty());
    std::shared_ptr<const void> loaded = VideoPlayer::loadAhead();
    // It is known by its name, which it gets a moment after it was started.
    QList<qint64> starters;
    ASSERT_TRUE(becomes([&] {
        starters = test::clipReadersOf(self).starters;
        return starters.size() == 1;
    }));

    auto clip = player();
    EXPECT_TRUE(becomes([&] { return number(*clip) == 0; }));
    EXPECT_EQ(test::clipReadersOf(self).starters, starters);
    loaded.reset();
    EXPECT_EQ(test::clipReadersOf(self).starters, starters);
    clip.reset();
    EXPECT_TRUE(test::clipReadersOf(self).starters.isEmpty());
}

TEST_F(VideoPlayerTest, LetsGoWhatWasLoadedInVain)
{
    (void)VideoPlayer::loadAhead();
    EXPECT_TRUE(test::clipReadersOf(QCoreApplication::applicationPid()).starters.isEmpty());
}

// Who lets it go draws the walls.
TEST_F(VideoPlayerTest, IsLetGoSoonThoughWhatStartedItsReaderHangs)
{
    auto clip = player();
    ASSERT_TRUE(becomes([&] { return number(*clip) == 0; }));
    const auto starters = test::clipReadersOf(QCoreApplication::applicationPid()).starters;
    ASSERT_EQ(starters.size(), 1);
    ASSERT_EQ(::kill(pid_t(starters.first()), SIGSTOP), 0);
    QElapsedTimer since;
    since.start();
    clip.reset();
    EXPECT_LT(since.elapsed(), 10'000) << "it waits 3 s; for a start it would be 20 s";
    clip = player();
    EXPECT_TRUE(becomes([&] { return number(*clip) == 0; })) << "the next one has another";
}

TEST_F(VideoPlayerTest, IsLetGoSoonThoughItsReaderCannotBeStarted)
{
    const std::shared_ptr<const void> loaded = VideoPlayer::loadAhead();
    QList<qint64> starters;
    ASSERT_TRUE(becomes([&] {
        starters = test::clipReadersOf(QCoreApplication::applicationPid()).starters;
        return starters.size() == 1;
    }));
    ASSERT_EQ(::kill(pid_t(starters.first()), SIGSTOP), 0);
    auto first = player();
    auto second = player();
    QElapsedTimer since;
    since.start();
    second.reset();
    first.reset();
    EXPECT_LT(since.elapsed(), 10'000) << "each waits for a second or two, not for 20";
    first = player();
    EXPECT_TRUE(becomes([&] { return number(*first) == 0; })) << "the next one has another";
}

TEST_F(VideoPlayerTest, ShowsTheFirstPictureBeforeItPlays)
{
    const auto clip = player();
    EXPECT_TRUE(becomes([&] { return !clip->picture().isNull(); }));
    EXPECT_EQ(number(*clip), 0);
}

// A picture may be fetched by play() before the decoder's message about it is read.
TEST_F(VideoPlayerTest, SaysThatItIsReadyHoweverItsFirstPictureCame)
{
    const auto clip = player();
    int ready = 0;
    QObject::connect(clip.get(), &VideoPlayer::readyForDisplay, [&] { ++ready; });
    const QDeadlineTimer deadline(20'000);
    while (clip->picture().isNull() && !deadline.hasExpired())
        clip->play(0.5); // without the event loop, which would bring the message
    EXPECT_EQ(ready, 1);
    QCoreApplication::processEvents();
    EXPECT_EQ(ready, 1);
}

TEST_F(VideoPlayerTest, EachPictureComesWhenItIsDueAndNotBefore)
{
    const auto clip = player();
    clip->play(0.5);
    ASSERT_TRUE(showsSoon(*clip, 0));
    for (int frame = 1; frame < 10; ++frame) {
        m_clock.set(m_start + frame * kInterval - 1ms);
        clip->advance();
        EXPECT_EQ(number(*clip), frame - 1);
        moveTo(frame);
        EXPECT_TRUE(showsSoon(*clip, frame));
    }
}

TEST_F(VideoPlayerTest, EndsWhenTheLastPictureHasHadItsTime)
{
    const auto clip = player();
    int ends = 0;
    QObject::connect(clip.get(), &VideoPlayer::playedToEnd, [&] { ++ends; });
    clip->play(0.5);
    for (int frame = 0; frame < 10; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame));
    }
    m_clock.set(m_start + 10 * kInterval - 1ms);
    clip->advance();
    EXPECT_EQ(ends, 0);
    moveTo(10);
    clip->advance();
    clip->advance();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(number(*clip), 9) << "the last picture stays";
}

TEST_F(VideoPlayerTest, TheNextLapBeginsAtTheVeryMomentTheLastEnds)
{
    const auto clip = player();
    QObject::connect(clip.get(), &VideoPlayer::playedToEnd, [&] {
        clip->seekToStart();
        clip->play(0.5);
    });
    clip->play(0.5);
    for (int frame = 0; frame < 35; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame % 10)) << "frame " << frame;
    }
}

TEST_F(VideoPlayerTest, TheNextLapIsDecodedBeforeTheLastPictureIsDue)
{
    const auto clip = player();
    QObject::connect(clip.get(), &VideoPlayer::playedToEnd, [&] {
        clip->seekToStart();
        clip->play(0.5);
    });
    clip->play(0.5);
    for (int frame = 0; frame < 10; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame));
    }
    // Once the decoder has filled its queue, the loop needs nothing more of it.
    bool starved = false;
    ASSERT_TRUE(becomes([&] {
        moveTo(10);
        clip->advance();
        starved = number(*clip) != 0;
        return !starved;
    }));
}

TEST_F(VideoPlayerTest, LatePicturesAreSkippedAndNotHurriedThrough)
{
    const auto clip = player();
    QList<int> shown;
    QObject::connect(clip.get(), &VideoPlayer::frameDue,
                     [&] { shown << number(*clip).value_or(-1); });
    clip->play(0.5);
    ASSERT_TRUE(showsSoon(*clip, 0));
    moveTo(1);
    ASSERT_TRUE(showsSoon(*clip, 1));
    moveTo(3); // 2 and 3 are due
    ASSERT_TRUE(showsSoon(*clip, 3));
    EXPECT_EQ(shown.last(), 3);
    moveTo(4);
    ASSERT_TRUE(showsSoon(*clip, 4));
}

TEST_F(VideoPlayerTest, AfterASuspendItGoesOnWithTheNextPicture)
{
    const auto clip = player();
    clip->play(0.5);
    ASSERT_TRUE(showsSoon(*clip, 0));
    m_clock.advance(std::chrono::hours(8));
    ASSERT_TRUE(showsSoon(*clip, 1));
    m_clock.advance(kInterval - 1ms);
    clip->advance();
    EXPECT_EQ(number(*clip), 1);
    m_clock.advance(2ms);
    EXPECT_TRUE(showsSoon(*clip, 2));
}

TEST_F(VideoPlayerTest, StandsStillWhilePaused)
{
    const auto clip = player();
    clip->play(0.5);
    ASSERT_TRUE(showsSoon(*clip, 0));
    clip->pause();
    m_clock.advance(500ms);
    clip->advance();
    EXPECT_EQ(number(*clip), 0);
    clip->play(0.5);
    EXPECT_EQ(number(*clip), 0);
    m_clock.advance(kInterval + 1ms);
    EXPECT_TRUE(showsSoon(*clip, 1));
}

TEST_F(VideoPlayerTest, SeekingInTheMiddleBeginsAgainWithTheFirstPicture)
{
    const auto clip = player();
    clip->play(0.5);
    for (int frame = 0; frame < 5; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame));
    }
    clip->seekToStart();
    EXPECT_TRUE(showsSoon(*clip, 0));
    m_clock.advance(kInterval + 1ms);
    EXPECT_TRUE(showsSoon(*clip, 1));
}

TEST_F(VideoPlayerTest, SaysThatTheEndIsNearOnceALap)
{
    const auto clip = player();
    int near = 0;
    QObject::connect(clip.get(), &VideoPlayer::nearEnd, [&] { ++near; });
    clip->play(0.5);
    for (int frame = 0; frame < 10; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame));
    }
    EXPECT_EQ(near, 1) << "the whole lap is shorter than the notice";
}

TEST_F(VideoPlayerTest, PlaysOnWhenItsFileIsRemoved)
{
    const auto clip = player();
    QObject::connect(clip.get(), &VideoPlayer::playedToEnd, [&] {
        clip->seekToStart();
        clip->play(0.5);
    });
    clip->play(0.5);
    ASSERT_TRUE(showsSoon(*clip, 0));
    ASSERT_TRUE(QFile::remove(m_path));
    for (int frame = 1; frame < 25; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame % 10)) << "frame " << frame;
    }
}

TEST_F(VideoPlayerTest, ClearedItNeitherMovesNorShows)
{
    const auto clip = player();
    clip->play(0.5);
    ASSERT_TRUE(showsSoon(*clip, 0));
    clip->clear();
    m_clock.advance(1s);
    clip->advance();
    clip->play(0.5);
    clip->seekToStart();
    EXPECT_TRUE(clip->picture().isNull());
}

TEST_F(VideoPlayerTest, MayBeLetGoInsideItsOwnEnd)
{
    auto clip = player();
    bool ended = false;
    QObject::connect(clip.get(), &VideoPlayer::playedToEnd, [&] {
        ended = true;
        clip->clear();
    });
    clip->play(0.5);
    for (int frame = 0; frame < 10; ++frame) {
        moveTo(frame);
        ASSERT_TRUE(showsSoon(*clip, frame));
    }
    moveTo(10);
    clip->advance();
    EXPECT_TRUE(ended);
}

TEST_F(VideoPlayerTest, PicturesComeAsTheStreamHasThemWhereThereIsRoom)
{
    VideoPlayer clip(m_path, QSize(1920, 1080), m_clock);
    ASSERT_TRUE(becomes([&] { return !clip.picture().isNull(); }));
    EXPECT_EQ(clip.picture().planes[0].size, QSize(320, 240));
    EXPECT_EQ(clip.picture().planes[1].size, QSize(160, 120));
    EXPECT_EQ(clip.picture().planes[2].size, QSize(160, 120));
    EXPECT_EQ(clip.picture().displaySize, QSizeF(320, 240));
}

TEST_F(VideoPlayerTest, PicturesComeFittedIntoTheBoundsAskedFor)
{
    const auto clip = player(); // 320 x 240
    clip->setBounds(QSize(300, 101));
    clip->play(0.5);
    ASSERT_TRUE(becomes([&] {
        m_clock.advance(kInterval);
        clip->advance();
        return clip->picture().size() == QSize(135, 101);
    }));
    EXPECT_EQ(clip->picture().planes[1].size, QSize(68, 51));
    EXPECT_EQ(clip->picture().displaySize, QSizeF(320, 240));
}

} // namespace
} // namespace corvella
