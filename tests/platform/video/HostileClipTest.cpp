// Clips that get hold of what decodes them. They do not play, the log says why, and that is all.
#include "platform/video/VideoPlayer.h"

#include "support/ManualMediaClock.h"
#include "support/QtPrinting.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using test::becomes;

constexpr int kHostileWidth = 176;

class HostileClip : public testing::Test
{
protected:
    HostileClip()
    {
        // Only what reads clips is started from here on, and it inherits this.
        ::setenv("LD_PRELOAD", CORVELLA_HOSTILE_DECODER, 1);
        ::setenv("HOSTILE_DECODER_WIDTH", QByteArray::number(kHostileWidth).constData(), 1);
        ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0:handle_segv=0", 1);
    }
    ~HostileClip() override
    {
        for (const char *name :
             {"LD_PRELOAD", "HOSTILE_DECODER_WIDTH", "HOSTILE_DECODER", "ASAN_OPTIONS"})
            ::unsetenv(name);
    }

    QString clip(int width)
    {
        QString path = m_dir.filePath(QStringLiteral("%1.mp4").arg(width));
        test::TestClip made;
        made.width = width;
        made.height = 144;
        made.write(path);
        return path;
    }

    // Why a clip fails whose decoder behaves like that; another one plays on all the while.
    QString failure(const char *behaviour)
    {
        ::setenv("HOSTILE_DECODER", behaviour, 1);
        VideoPlayer good(clip(kHostileWidth + 16), kBounds, m_clock);
        good.play(1);
        EXPECT_TRUE(becomes([&] { return !good.picture().isNull(); }));
        VideoPlayer bad(clip(kHostileWidth), kBounds, m_clock);
        QString reason;
        QObject::connect(&bad, &VideoPlayer::failed, [&](const QString &text) { reason = text; });
        bad.play(1);
        EXPECT_TRUE(becomes([&] { return !reason.isEmpty(); }));
        const quint64 before = good.pictureSerial();
        m_clock.advance(std::chrono::milliseconds(34));
        EXPECT_TRUE(becomes([&] {
            good.advance();
            return good.pictureSerial() > before;
        })) << "the good clip goes on";
        return reason;
    }

    static constexpr QSize kBounds{192, 144};
    QTemporaryDir m_dir;
    test::ManualMediaClock m_clock;
};

TEST_F(HostileClip, CrashesItsReaderOnly)
{
    EXPECT_EQ(failure("crash"), QStringLiteral("what reads it has ended: Segmentation fault"));
}

TEST_F(HostileClip, CannotMakeSenseToTheProgramOfWhatHasNone)
{
    EXPECT_EQ(failure("babble"), QStringLiteral("what reads it has ended: Killed"));
}

#ifndef CORVELLA_UNCONFINED
TEST_F(HostileClip, GetsNoMoreMemoryThanAClipNeeds)
{
    EXPECT_EQ(failure("memory"), QStringLiteral("its pictures cannot be decoded"));
}

TEST_F(HostileClip, ReachesNoFileNoNetworkAndNoProgram)
{
    EXPECT_EQ(failure("escape"), QStringLiteral("its pictures cannot be decoded"));
}
#endif

} // namespace
} // namespace corvella
