#include "Wall/BrokenClips.h"

#include "support/CapturedLog.h"
#include "support/TemporaryHome.h"

#include <QDateTime>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <cstdio>

namespace corvella {
namespace {

constexpr MediaTime kNow = std::chrono::hours(5);

class BrokenClipsTest : public testing::Test
{
protected:
    test::TemporaryHome m_home;
    test::CapturedLog m_log;
    QString m_path = m_home.path(QStringLiteral("171.mp4"));
};

TEST_F(BrokenClipsTest, AreNamedInTheLogOnce)
{
    m_home.write(m_path, "junk");
    BrokenClips::add(m_path, QStringLiteral("no video stream in it"), kNow);
    BrokenClips::add(m_path, QStringLiteral("no video stream in it"), kNow);
    EXPECT_EQ(
        m_log.messages(),
        QStringList{QStringLiteral("clip does not play, passing it over: %1: no video stream in it")
                        .arg(m_path)});
}

TEST_F(BrokenClipsTest, AreForgottenWhenAnotherFileTakesTheirPlace)
{
    m_home.write(m_path, "junk");
    BrokenClips::add(m_path, QStringLiteral("why"), kNow);
    EXPECT_TRUE(BrokenClips::contains(m_path, kNow));
    m_home.write(m_path, "other junk");
    EXPECT_FALSE(BrokenClips::contains(m_path, kNow));
}

TEST_F(BrokenClipsTest, AreForgottenWhenAFileOfTheSameSizeAndDateTakesTheirPlace)
{
    m_home.write(m_path, "junk");
    const QDateTime date = QFileInfo(m_path).lastModified();
    BrokenClips::add(m_path, QStringLiteral("why"), kNow);
    const QString other = m_path + QStringLiteral(".new");
    m_home.write(other, "clip");
    QFile file(other);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(date, QFile::FileModificationTime));
    file.close();
    ASSERT_EQ(std::rename(qPrintable(other), qPrintable(m_path)), 0);
    ASSERT_EQ(QFileInfo(m_path).lastModified(), date);
    EXPECT_FALSE(BrokenClips::contains(m_path, kNow));
}

// What was wrong may have been wrong with the machine, for a moment.
TEST_F(BrokenClipsTest, AreTriedAgainSoonAndThenEveryTenMinutesAndNamedOnce)
{
    m_home.write(m_path, "junk");
    const auto isPassedOverUntil = [this](MediaTime end) {
        return BrokenClips::contains(m_path, end - MediaTime(1))
            && !BrokenClips::contains(m_path, end);
    };
    MediaTime now = kNow;
    BrokenClips::add(m_path, QStringLiteral("why"), now);
    EXPECT_TRUE(isPassedOverUntil(now + std::chrono::seconds(4)));
    for (int i = 0; i < 3; ++i) {
        now += std::chrono::minutes(10) + std::chrono::seconds(30);
        BrokenClips::add(m_path, QStringLiteral("why"), now);
        EXPECT_TRUE(isPassedOverUntil(now + std::chrono::minutes(10)));
    }
    now += std::chrono::hours(1); // in which it played
    BrokenClips::add(m_path, QStringLiteral("why"), now);
    EXPECT_TRUE(isPassedOverUntil(now + std::chrono::seconds(4)));
    EXPECT_EQ(m_log.messages().size(), 1);
}

TEST_F(BrokenClipsTest, AMissingFileIsOneUntilItIsThere)
{
    BrokenClips::add(m_path, QStringLiteral("No such file or directory"), kNow);
    EXPECT_TRUE(BrokenClips::contains(m_path, kNow));
    m_home.write(m_path, "clip");
    EXPECT_FALSE(BrokenClips::contains(m_path, kNow));
}

TEST_F(BrokenClipsTest, AClipThatBreaksOffStaysPlayable)
{
    m_home.write(m_path, "half a clip");
    BrokenClips::noteBrokenOff(m_path, QStringLiteral("breaks off after 48 of 96 pictures"));
    BrokenClips::noteBrokenOff(m_path, QStringLiteral("breaks off after 48 of 96 pictures"));
    EXPECT_FALSE(BrokenClips::contains(m_path, kNow));
    EXPECT_EQ(m_log.messages().size(), 1);
}

} // namespace
} // namespace corvella
