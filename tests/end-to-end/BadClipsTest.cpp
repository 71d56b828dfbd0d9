// Clips that do not play, or no longer: the wall goes on with what it has.
#include "support/ProgramUnderTest.h"
#include "support/TestClip.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QFile>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr QRect kScreen(0, 0, 640, 480);
constexpr int kShortClip = 15; // frames: one second at half speed
// The longest of the transitions takes 0.9 s, of which only a part is dark.
constexpr auto kLongestDarkness = 900ms;

// A clip whose second half, with the index of its pictures, never arrived.
QByteArray cutClip()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"clip.mp4"_s);
    test::TestClip clip;
    clip.indexInFront = false;
    clip.write(path);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.read(file.size() / 2);
}

class BadClipsOnTheWall : public testing::Test
{
protected:
    BadClipsOnTheWall()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
    }

    [[nodiscard]] std::optional<test::SeenPattern> seen()
    {
        return test::seenPattern(m_display.client().picture(), kScreen);
    }
    [[nodiscard]] bool shows(int clip)
    {
        const std::optional<test::SeenPattern> pattern = seen();
        return pattern && pattern->clip == clip;
    }
    [[nodiscard]] qsizetype clipsEnded()
    {
        return m_program.messages().filter(u"clip ended"_s).size();
    }
    [[nodiscard]] qsizetype complaintsAbout(const QString &path)
    {
        return m_program.messages()
            .filter(u"clip does not play, passing it over: %1: "_s.arg(path))
            .size();
    }

    // Watches the wall until that many clips have ended: the longest time for which it was all
    // black.
    std::chrono::nanoseconds longestDarkness(int clips)
    {
        std::chrono::nanoseconds longest{0};
        std::optional<test::Stopwatch> dark;
        EXPECT_TRUE(becomes([&] {
            const bool isDark =
                test::isFilledWith(m_display.client().picture(), kScreen, Qt::black);
            if (!isDark)
                dark.reset();
            else if (!dark)
                dark.emplace();
            longest = std::max(longest, dark ? dark->elapsed() : 0ns);
            return clipsEnded() >= clips;
        }));
        return longest;
    }

    test::VirtualDisplay m_display{kScreen.size()};
    test::ProgramUnderTest m_program;
};

TEST_F(BadClipsOnTheWall, AreNamedOnceAndPassedOver)
{
    const QString bad[] = {
        m_program.addFile(u"094"_s, {}),
        m_program.addFile(u"131"_s, "<html>404 Not Found</html>"),
        m_program.addFile(u"171"_s, cutClip()),
    };
    m_program.addClip(u"193"_s, 4, kShortClip);
    m_program.start();
    EXPECT_TRUE(becomes([this] { return shows(4); }));
    // The list begins anew after each of these, so a bad clip would be met again.
    EXPECT_TRUE(becomes([this] { return clipsEnded() >= 3; }));
    for (const QString &path : bad)
        EXPECT_EQ(complaintsAbout(path), 1) << qPrintable(path);
    EXPECT_EQ(complaintsAbout(m_program.clipPath(u"193"_s)), 0);
    EXPECT_TRUE(shows(4));
    EXPECT_EQ(m_display.client().windows().size(), 1);
}

TEST_F(BadClipsOnTheWall, LeaveNoBlackGap)
{
    m_program.configure({{u"transition"_s, u"black"_s}});
    m_program.addClip(u"094"_s, 1, kShortClip);
    m_program.addFile(u"131"_s, "not a clip");
    m_program.addFile(u"171"_s, cutClip());
    m_program.addClip(u"193"_s, 4, kShortClip);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return seen().has_value(); }));
    EXPECT_LT(longestDarkness(4), kLongestDarkness);
}

TEST_F(BadClipsOnTheWall, CutLeavesNoBlackMomentAtAll)
{
    m_program.addClip(u"094"_s, 1, kShortClip);
    m_program.addClip(u"193"_s, 4, kShortClip);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return seen().has_value(); }));
    EXPECT_EQ(longestDarkness(4), 0ns);
}

TEST_F(BadClipsOnTheWall, ClipRemovedWhileItPlaysIsFollowedByTheOthers)
{
    m_program.addClip(u"171"_s, 1, 2 * kShortClip);
    m_program.addClip(u"193"_s, 2, 2 * kShortClip);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    ASSERT_TRUE(QFile::remove(m_program.clipPath(u"171"_s)));
    EXPECT_TRUE(becomes([this] { return shows(2); }));
    const qsizetype ended = clipsEnded();
    EXPECT_TRUE(becomes([&] { return clipsEnded() >= ended + 2; }));
    EXPECT_TRUE(becomes([this] { return shows(2); }));
}

TEST_F(BadClipsOnTheWall, LastPictureStaysWhenTheOnlyClipIsGone)
{
    m_program.addClip(u"171"_s, 1, kShortClip);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return shows(1); }));
    ASSERT_TRUE(QFile::remove(m_program.clipPath(u"171"_s)));
    EXPECT_TRUE(m_program.logs(u"nothing to play here yet; looking again in 5 s"_s));
    EXPECT_EQ(m_display.client().windows().size(), 1);
    EXPECT_TRUE(shows(1));
}

TEST_F(BadClipsOnTheWall, AloneLeaveTheWallWaitingForABetterOne)
{
    const QString path = m_program.addFile(u"171"_s, "not a clip");
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"nothing to play here yet; looking again in 5 s"_s));
    EXPECT_EQ(complaintsAbout(path), 1);
    EXPECT_EQ(m_display.client().windows().size(), 1);
    test::writeTestPattern(path, 7, kShortClip);
    EXPECT_TRUE(becomes([this] { return shows(7); }));
}

} // namespace
} // namespace corvella
