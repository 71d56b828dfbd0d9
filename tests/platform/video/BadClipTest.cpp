// Files that are not what they should be: each is reported once and none harms.
#include "platform/video/VideoPlayer.h"

#include "FrameMark.h"
#include "support/ManualMediaClock.h"
#include "support/ShownPicture.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using test::becomes;
using namespace std::chrono_literals;

class BadClip : public testing::Test
{
protected:
    QString file(const QByteArray &content)
    {
        const QString path = m_dir.filePath(QStringLiteral("bad%1.mp4").arg(++m_files));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }

    QByteArray goodClip(const test::TestClip &clip = {})
    {
        const QString path = m_dir.filePath(QStringLiteral("good.mp4"));
        clip.write(path);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    // Why the file does not play; empty when it does, or when neither is said.
    QString failure(const QString &path)
    {
        VideoPlayer player(path, QSize(640, 480), m_clock);
        QString reason;
        QObject::connect(&player, &VideoPlayer::failed,
                         [&](const QString &text) { reason = text; });
        player.play(0.5);
        EXPECT_TRUE(becomes([&] { return !reason.isEmpty() || !player.picture().isNull(); }));
        return reason;
    }

    QTemporaryDir m_dir;
    test::ManualMediaClock m_clock;
    int m_files = 0;
};

TEST_F(BadClip, EmptyFileFails)
{
    EXPECT_EQ(failure(file({})), QStringLiteral("the file is empty"));
}

TEST_F(BadClip, MissingFileFails)
{
    EXPECT_EQ(failure(QStringLiteral("/nonexistent/clip.mp4")),
              QStringLiteral("No such file or directory"));
}

TEST_F(BadClip, TextFails)
{
    EXPECT_FALSE(failure(file("<html>404 Not Found</html>")).isEmpty());
}

TEST_F(BadClip, FolderFails)
{
    EXPECT_FALSE(failure(m_dir.path()).isEmpty());
}

TEST_F(BadClip, ClipCutBeforeItsIndexFails)
{
    test::TestClip clip;
    clip.indexInFront = false;
    const QByteArray whole = goodClip(clip);
    EXPECT_FALSE(failure(file(whole.left(whole.size() / 2))).isEmpty());
}

TEST_F(BadClip, ClipCutAfterItsIndexPlaysAsFarAsItGoesAndLoopsThere)
{
    test::TestClip clip;
    clip.frames = 60;
    clip.bFrames = 0;
    clip.paint = [](QImage &image,
                    int frame) { // something to code, so that the cut lies among pictures
        for (int y = 0; y < image.height() / 2; ++y)
            for (int x = 0; x < image.width(); ++x)
                image.setPixelColor(
                    x, y, QColor((x * 7 + frame * 13) % 256, (y * 5) % 256, (x * y) % 256));
    };
    const QByteArray whole = goodClip(clip);
    VideoPlayer player(file(whole.left(whole.size() / 2)), QSize(320, 240), m_clock);
    int reports = 0;
    int laps = 0;
    QObject::connect(&player, &VideoPlayer::brokenOff, [&] { ++reports; });
    QObject::connect(&player, &VideoPlayer::failed,
                     [](const QString &why) { FAIL() << why.toStdString(); });
    QObject::connect(&player, &VideoPlayer::playedToEnd, [&] {
        ++laps;
        player.seekToStart();
        player.play(0.5);
    });
    player.play(0.5);
    EXPECT_TRUE(becomes([&] {
        m_clock.advance(20ms);
        player.advance();
        return laps == 3;
    }));
    EXPECT_EQ(reports, 1);
}

TEST_F(BadClip, GarbageInsideNeitherStopsNorCrashesIt)
{
    QByteArray bytes = goodClip();
    for (qsizetype i = bytes.size() / 2; i < bytes.size(); i += 3)
        bytes[i] = static_cast<char>(i * 31);
    VideoPlayer player(file(bytes), QSize(320, 240), m_clock);
    bool over = false;
    QObject::connect(&player, &VideoPlayer::failed, [&] { over = true; });
    QObject::connect(&player, &VideoPlayer::playedToEnd, [&] { over = true; });
    player.play(0.5);
    EXPECT_TRUE(becomes([&] {
        m_clock.advance(20ms);
        player.advance();
        return over;
    }));
}

TEST_F(BadClip, PictureThatStaysForMoreThanAMinuteFails)
{
    test::TestClip clip;
    clip.bFrames = 0;
    QByteArray bytes = goodClip(clip);
    bytes.replace("edts", "free"); // which would cut it to its old length
    // The track's header: how many units a second has, of which a picture takes 512.
    const qsizetype units = bytes.indexOf("mdhd") + 4 + 4 + 4 + 4;
    ASSERT_EQ(bytes.mid(units, 4), QByteArray::fromHex("00003c00"));
    bytes.replace(units, 4, QByteArray::fromHex("00000009"));
    EXPECT_EQ(failure(file(bytes)), QString()) << "57 s";
    bytes.replace(units, 4, QByteArray::fromHex("00000008"));
    VideoPlayer player(file(bytes), QSize(320, 240), m_clock); // 64 s
    QString reason;
    QObject::connect(&player, &VideoPlayer::failed, [&](const QString &text) { reason = text; });
    player.play(0.5);
    EXPECT_TRUE(becomes([&] { return !reason.isEmpty(); }));
    EXPECT_EQ(reason, QStringLiteral("a picture of it stays for more than a minute"));
}

TEST_F(BadClip, PictureOfOnePixelFillsItsPlace)
{
    test::TestClip clip;
    clip.width = clip.height = 1;
    clip.marked = false;
    clip.colour = [](int) { return QColor(200, 100, 50); };
    VideoPlayer player(file(goodClip(clip)), QSize(640, 480), m_clock);
    ASSERT_TRUE(becomes([&] { return !player.picture().isNull(); }));
    const QImage image = test::shown(player.picture(), QSize(640, 480));
    EXPECT_EQ(image.size(), QSize(480, 480));
    for (const QPoint corner : {QPoint(0, 0), QPoint(479, 0), QPoint(0, 479), QPoint(479, 479)})
        EXPECT_NEAR(image.pixelColor(corner).red(), 200, 8);
}

TEST_F(BadClip, OddSizePlaysWhole)
{
    test::TestClip clip;
    clip.width = 321;
    clip.height = 241;
    VideoPlayer player(file(goodClip(clip)), QSize(642, 482), m_clock);
    ASSERT_TRUE(becomes([&] { return !player.picture().isNull(); }));
    const QImage image = test::shown(player.picture(), QSize(642, 482));
    EXPECT_EQ(image.size(), QSize(642, 482));
    EXPECT_EQ(sun::readFrameMark(image, image.rect()), 0);
}

TEST_F(BadClip, PictureBeyond8KIsRefusedWithItsSize)
{
    test::TestClip clip;
    clip.width = clip.height = 8192;
    clip.frames = 1;
    clip.bFrames = 0;
    EXPECT_EQ(failure(file(goodClip(clip))),
              QStringLiteral("a picture of 8192 x 8192 is too large"));
}

struct Turn
{
    int degrees;
    QSize shown;
    QPoint whereTopLeftWent;
};

class RotatedClip : public BadClip, public testing::WithParamInterface<Turn>
{
};

TEST_P(RotatedClip, ShowsUpright)
{
    test::TestClip clip; // 320 x 240, its top left corner white
    clip.rotationDegrees = GetParam().degrees;
    clip.marked = false;
    clip.paint = [](QImage &image, int) {
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                image.setPixelColor(x, y, Qt::white);
    };
    VideoPlayer player(file(goodClip(clip)), GetParam().shown, m_clock);
    ASSERT_TRUE(becomes([&] { return !player.picture().isNull(); }));
    const QImage image = test::shown(player.picture(), GetParam().shown);
    ASSERT_EQ(image.size(), GetParam().shown);
    EXPECT_GT(image.pixelColor(GetParam().whereTopLeftWent).red(), 200);
    EXPECT_LT(image.pixelColor(image.rect().center()).red(), 80);
}

INSTANTIATE_TEST_SUITE_P(Turns, RotatedClip,
                         testing::Values(Turn{90, {240, 320}, {220, 20}},
                                         Turn{180, {320, 240}, {300, 220}},
                                         Turn{270, {240, 320}, {20, 300}}),
                         [](const auto &row) { return "By" + std::to_string(row.param.degrees); });

// Under the leak checker this also shows that none of them leaves anything behind.
TEST_F(BadClip, AThousandBadClipsInARow)
{
    const QByteArray whole = goodClip();
    const VideoPlayer beside(m_dir.filePath(QStringLiteral("good.mp4")), QSize(160, 120), m_clock);
    for (int i = 0; i < 1000; ++i) {
        QByteArray bytes = whole.left(1 + (i * 977) % whole.size());
        if (i % 3 == 0)
            bytes[bytes.size() / 2] = static_cast<char>(i);
        const QString path = file(bytes);
        VideoPlayer player(path, QSize(160, 120), m_clock);
        bool answered = false;
        QObject::connect(&player, &VideoPlayer::failed, [&] { answered = true; });
        QObject::connect(&player, &VideoPlayer::readyForDisplay, [&] { answered = true; });
        player.play(0.5);
        ASSERT_TRUE(becomes([&] { return answered; }, test::kGenerous, 1ms))
            << "clip " << i << " of " << bytes.size() << " bytes";
        QFile::remove(path);
    }
}

} // namespace
} // namespace corvella
