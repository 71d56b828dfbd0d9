// What a mouse does to walls under a Wayland compositor, which tells a window of the pointer only
// while it is over that window.
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/WaylandPointer.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr QRect kLeftScreen(0, 0, 640, 480);
constexpr QRect kRightScreen(640, 0, 640, 480);
constexpr QSize kBoth(1280, 480);

class SwayPointer : public testing::Test
{
protected:
    SwayPointer()
    {
        m_program.showOn(m_sway);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    void startWall(const QJsonArray &products)
    {
        m_program.configure({{u"products"_s, products}});
        m_program.start();
        ASSERT_TRUE(becomes([this] { return isWallUp(); }));
        // Whoever starts a program was there just now, as far as anybody knows.
        (void)becomes([this] { return isButtonThere(); }, 1s);
        ASSERT_TRUE(becomes([this] { return !isButtonThere(); }));
    }

    // Of the left wall; the close button is the square of 64 from 548, 28, its cross is white in
    // the middle.
    [[nodiscard]] bool isButtonThere() { return qGray(m_sway.picture(0).pixel(580, 60)) > 250; }
    [[nodiscard]] bool isWallUp(int output = 0)
    {
        return test::seenPattern(m_sway.picture(output), QRect(QPoint(0, 0), kLeftScreen.size()))
            .has_value();
    }
    [[nodiscard]] bool areSettingsOpen()
    {
        return m_sway.tell({u"-r"_s, u"-t"_s, u"get_tree"_s}).contains("\"name\": \"Corvella\"");
    }

    test::HeadlessSway m_sway{{kLeftScreen, kRightScreen}};
    test::WaylandPointer m_pointer{m_sway, kBoth};
    test::ProgramUnderTest m_program;
};

TEST_F(SwayPointer, BringsTheCloseButtonWhichClosesTheWall)
{
    startWall({u"171"_s});
    m_pointer.moveTo({100, 100});
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    EXPECT_TRUE(becomes([this] { return !isButtonThere(); })) << "after a few seconds";
    m_pointer.moveTo({550, 30}); // in its square, beside the disc
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    m_pointer.click();
    EXPECT_TRUE(becomes([this] { return areSettingsOpen(); }));
    EXPECT_TRUE(m_program.process().isRunning());
}

TEST_F(SwayPointer, LeavesTheWallAloneWithAClickElsewhere)
{
    startWall({u"171"_s});
    m_pointer.moveTo({540, 100});
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    m_pointer.click();
    EXPECT_FALSE(becomes([this] { return areSettingsOpen(); }, 500ms));
    EXPECT_TRUE(isWallUp());
}

TEST_F(SwayPointer, BringsTheButtonOnlyWhileItIsOverAWallBesideAScreenInUse)
{
    startWall({u"171"_s, u"off"_s});
    m_pointer.moveTo({100, 100});
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    m_pointer.moveTo({700, 100}); // leaves
    const test::Stopwatch sinceLeft;
    EXPECT_TRUE(becomes([this] { return !isButtonThere(); }));
    EXPECT_LT(sinceLeft.elapsed(), 1500ms) << "not with the leaving, but when input has ended";
    m_pointer.moveTo({639, 479}); // enters
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
}

TEST_F(SwayPointer, EndsASaver)
{
    m_program.configure({{u"mode"_s, u"saver"_s}, {u"lockOnDismiss"_s, false}});
    m_program.configure({{u"idleMinutes"_s, 0.04}}); // 2.4 s
    m_pointer.moveTo({100, 100});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 2 of 2 display(s), mode saver"_s));
    ASSERT_TRUE(becomes([this] { return isWallUp(1); }));
    m_program.configure({{u"idleMinutes"_s, 60}});
    EXPECT_FALSE(becomes([this] { return !isWallUp(1); }, 2s)); // until it heeds input
    m_pointer.moveTo({102, 100});
    EXPECT_TRUE(becomes([this] { return !isWallUp(1); }));
}

} // namespace
} // namespace corvella
