// A wall on two monitors of different size and shape.
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::SeenPattern;

// The clips are four wide by three high.
struct Monitor
{
    QRect frame;
    QRect picture;
};
constexpr Monitor kWide{{0, 0, 800, 450}, {100, 0, 600, 450}};
constexpr Monitor kTall{{800, 0, 480, 600}, {800, 120, 480, 360}};

class TwoMonitors : public testing::Test
{
protected:
    TwoMonitors()
    {
        m_display.plugIn(u"Wide"_s, kWide.frame);
        m_display.plugIn(u"Tall"_s, kTall.frame);
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
        m_program.start();
    }

    [[nodiscard]] std::optional<SeenPattern> seen(const Monitor &monitor)
    {
        return test::seenPattern(m_display.client().picture(), monitor.picture);
    }

    test::VirtualDisplay m_display{QSize(1280, 600)};
    test::ProgramUnderTest m_program;
};

TEST_F(TwoMonitors, EachShowsItsClipWholeInTheMiddleAndIsBlackBesideIt)
{
    for (const Monitor &monitor : {kWide, kTall}) {
        ASSERT_TRUE(becomes([&] {
            const std::optional<SeenPattern> pattern = seen(monitor);
            return pattern && pattern->isWhole;
        })) << "on the monitor at "
            << monitor.frame.x();
        EXPECT_TRUE(
            test::isBlackBeside(m_display.client().picture(), monitor.frame, monitor.picture));
    }
}

TEST_F(TwoMonitors, ShowDifferentProducts)
{
    ASSERT_TRUE(becomes([&] { return seen(kWide) && seen(kTall); }));
    EXPECT_EQ(seen(kWide)->clip + seen(kTall)->clip, 1 + 2);
}

TEST_F(TwoMonitors, PlayOn)
{
    for (const Monitor &monitor : {kWide, kTall}) {
        ASSERT_TRUE(becomes([&] { return seen(monitor).has_value(); }));
        // Every frame is on show for 1/15 s, so each look finds the same one or one further on.
        int last = seen(monitor)->frame;
        const int goal = last + 5;
        EXPECT_TRUE(becomes([&] {
            const int previous = std::exchange(last, seen(monitor).value_or(SeenPattern{}).frame);
            EXPECT_GE(last, previous);
            return last >= goal;
        }));
    }
}

TEST_F(TwoMonitors, AreBothCountedInTheLog)
{
    EXPECT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    EXPECT_TRUE(m_program.logs(u"playing 171"_s));
    EXPECT_TRUE(m_program.logs(u"playing 193"_s));
}

TEST_F(TwoMonitors, HaveOneWindowEachThatCoversThem)
{
    ASSERT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode wall"_s));
    EXPECT_TRUE(becomes([&] {
        QList<QRect> frames;
        for (const test::XWindow &window : m_display.client().windows())
            frames << window.frame;
        return frames == QList{kWide.frame, kTall.frame}
        || frames == QList{kTall.frame, kWide.frame};
    }));
}

} // namespace
} // namespace corvella
