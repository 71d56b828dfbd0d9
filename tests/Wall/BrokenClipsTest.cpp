#include "Wall/BrokenClips.h"

#include "support/CapturedLog.h"
#include "support/TemporaryHome.h"

#include <QFile>

#include <gtest/gtest.h>

namespace corvella {
namespace {

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
    BrokenClips::add(m_path, QStringLiteral("no video stream in it"));
    BrokenClips::add(m_path, QStringLiteral("no video stream in it"));
    EXPECT_EQ(
        m_log.messages(),
        QStringList{QStringLiteral("clip does not play, passing it over: %1: no video stream in it")
                        .arg(m_path)});
}

TEST_F(BrokenClipsTest, AreForgottenWhenAnotherFileTakesTheirPlace)
{
    m_home.write(m_path, "junk");
    BrokenClips::add(m_path, QStringLiteral("why"));
    EXPECT_TRUE(BrokenClips::contains(m_path));
    m_home.write(m_path, "other junk");
    EXPECT_FALSE(BrokenClips::contains(m_path));
}

TEST_F(BrokenClipsTest, AMissingFileIsOneUntilItIsThere)
{
    BrokenClips::add(m_path, QStringLiteral("No such file or directory"));
    EXPECT_TRUE(BrokenClips::contains(m_path));
    m_home.write(m_path, "clip");
    EXPECT_FALSE(BrokenClips::contains(m_path));
}

TEST_F(BrokenClipsTest, AClipThatBreaksOffStaysPlayable)
{
    m_home.write(m_path, "half a clip");
    BrokenClips::noteBrokenOff(m_path, QStringLiteral("breaks off after 48 of 96 pictures"));
    BrokenClips::noteBrokenOff(m_path, QStringLiteral("breaks off after 48 of 96 pictures"));
    EXPECT_FALSE(BrokenClips::contains(m_path));
    EXPECT_EQ(m_log.messages().size(), 1);
}

} // namespace
} // namespace corvella
