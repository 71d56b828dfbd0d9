// A wall under a Wayland compositor.
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sysexits.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr QSize kLeftSize(800, 450);
constexpr QSize kRightSize(480, 600);
// The clips are four wide by three high.
constexpr QRect kLeftPicture(100, 0, 600, 450);
constexpr QRect kRightPicture(0, 120, 480, 360);

class Sway : public testing::Test
{
protected:
    Sway()
    {
        m_program.showOn(m_sway);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
    }

    [[nodiscard]] bool showsWall(int output, QSize size, const QRect &picture)
    {
        const QImage grab = m_sway.picture(output);
        const std::optional<test::SeenPattern> seen = test::seenPattern(grab, picture);
        return seen && seen->isWhole
            && test::isBlackBeside(grab, QRect(QPoint(0, 0), size), picture);
    }

    test::HeadlessSway m_sway{{QRect(QPoint(0, 0), kLeftSize), QRect(QPoint(800, 0), kRightSize)}};
    test::ProgramUnderTest m_program;
};

TEST_F(Sway, HasAWallOnEachOutput)
{
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    EXPECT_TRUE(becomes([this] { return showsWall(0, kLeftSize, kLeftPicture); }));
    EXPECT_TRUE(becomes([this] { return showsWall(1, kRightSize, kRightPicture); }));
}

TEST_F(Sway, OutputThatIsOffIsLeftAlone)
{
    m_program.configure({{u"products"_s, QJsonArray{u"off"_s, u"171"_s}}});
    const QImage before = m_sway.picture(0);
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 2 display(s), mode wall"_s));
    EXPECT_TRUE(becomes([this] { return showsWall(1, kRightSize, kRightPicture); }));
    EXPECT_EQ(m_sway.picture(0), before);
}

// As with a screen that gets twice the resolution and the scale that goes with it: in points it
// stays what it was, but a wall of the old scale would be blurred.
TEST_F(Sway, WallUsesThePixelsThatANewScaleGives)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return showsWall(0, kLeftSize, kLeftPicture); }));
    m_sway.change(0, kLeftSize * 2, 2);
    EXPECT_TRUE(m_program.logs(u"display layout changed (2 -> 2)"_s));
    const QRect picture(kLeftPicture.topLeft() * 2, kLeftPicture.size() * 2);
    EXPECT_TRUE(becomes([&] { return showsWall(0, kLeftSize * 2, picture); }));
}

// Counted from before the compositor is told to add it until the wall's black is there, where the
// compositor itself shows grey. What else the machine does only ever adds to it: the quickest of a
// few counts.
TEST_F(Sway, NewOutputIsCoveredWithinASecond)
{
    constexpr auto kAllowed = 1s;
    constexpr int kAdded = 5;
    for (int output = 2; output < 2 + kAdded; ++output)
        m_sway.change(output, kRightSize, 1);
    m_program.start();
    ASSERT_TRUE(becomes([this] { return showsWall(1, kRightSize, kRightPicture); }));
    std::chrono::nanoseconds quickest = std::chrono::nanoseconds::max();
    for (int output = 2; output < 2 + kAdded && quickest > kAllowed; ++output) {
        const test::Stopwatch sinceBefore;
        m_sway.tell({u"create_output"_s});
        ASSERT_TRUE(becomes([&] {
            return test::isBlackBeside(m_sway.picture(output), {{0, 0}, kRightSize}, kRightPicture);
        }));
        quickest = std::min(quickest, sinceBefore.elapsed());
        ASSERT_TRUE(becomes([&] { return showsWall(output, kRightSize, kRightPicture); }));
    }
    EXPECT_LE(quickest, kAllowed);
    RecordProperty("milliseconds", std::to_string(quickest / 1ms));
}

TEST_F(Sway, WallEndsInOrder)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return showsWall(0, kLeftSize, kLeftPicture); }));
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

TEST_F(Sway, ProgramEndsWhenTheCompositorGoes)
{
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    m_sway.stop();
    EXPECT_EQ(m_program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_TRUE(m_program.process().errorLines().contains(
        u"The Wayland connection broke. Did the Wayland compositor die?"_s));
}

} // namespace
} // namespace corvella
