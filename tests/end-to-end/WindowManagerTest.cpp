// A wall among the other windows of an X11 desktop.
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

class WindowManager : public testing::Test
{
protected:
    WindowManager()
    {
        m_display.startWindowManager();
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    [[nodiscard]] test::XWindow wall() { return m_display.client().windows().value(0); }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

TEST_F(WindowManager, HoldsTheWallAboveAllOnEveryWorkspace)
{
    m_program.start();
    const QList<QByteArray> wanted{"_NET_WM_STATE_FULLSCREEN", "_NET_WM_STATE_ABOVE",
                                   "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"};
    QList<QByteArray> states;
    EXPECT_TRUE(becomes([&] {
        states = m_display.client().states(wall().id);
        return std::all_of(wanted.begin(), wanted.end(),
                           [&states](const QByteArray &state) { return states.contains(state); });
    })) << testing::PrintToString(states);
    EXPECT_TRUE(becomes([&] { return m_display.client().isOnAllWorkspaces(wall().id); }));
    EXPECT_EQ(wall().frame, QRect(0, 0, 640, 480));
}

TEST_F(WindowManager, GivesTheKeysToAWallThatCoversEveryScreen)
{
    m_program.start();
    EXPECT_TRUE(
        becomes([this] { return wall().id != 0 && m_display.client().focus() == wall().id; }));
}

// 640 pixels are 213 points of three pixels each, and one pixel more.
TEST_F(WindowManager, LeavesNoPixelUncoveredWhereTheScaleDoesNotDivideTheScreen)
{
    const QColor background(48, 96, 160);
    m_display.client().paintRoot(background);
    m_program.setVariable(u"QT_SCALE_FACTOR"_s, u"3"_s);
    m_program.start();
    const auto isUncovered = [&](const QPoint &pixel) {
        return m_display.client().picture().pixelColor(pixel) == background;
    };
    ASSERT_TRUE(becomes([&] { return !isUncovered({638, 240}); }));
    EXPECT_FALSE(isUncovered({639, 240}));
}

TEST_F(WindowManager, NeitherClosesNorMinimisesTheWall)
{
    m_program.start();
    ASSERT_TRUE(
        becomes([this] { return wall().id != 0 && m_display.client().focus() == wall().id; }));
    const quint32 id = wall().id;
    m_display.input({u"key"_s, u"alt+F4"_s});
    EXPECT_FALSE(becomes([&] { return wall().id != id; }, 500ms));
    const int shown = m_display.client().windowsShown();
    m_display.input({u"windowminimize"_s, QString::number(id)});
    EXPECT_TRUE(becomes([&] { return m_display.client().windowsShown() > shown; }));
    EXPECT_TRUE(becomes([&] { return wall().id == id; }));
}

} // namespace
} // namespace corvella
