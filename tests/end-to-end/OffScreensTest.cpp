// Screens that the user set to Off.
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

constexpr QRect kFirst(0, 0, 640, 480);
constexpr QRect kSecond(640, 0, 640, 480);
const QColor kBackground(48, 96, 160);

class OffScreens : public testing::Test
{
protected:
    OffScreens()
    {
        m_display.plugIn(u"First"_s, kFirst);
        m_display.plugIn(u"Second"_s, kSecond);
        m_display.client().paintRoot(kBackground);
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    test::VirtualDisplay m_display{QSize(1280, 480)};
    test::ProgramUnderTest m_program;
};

TEST_F(OffScreens, AreLeftAlone)
{
    m_program.configure({{u"products"_s, QJsonArray{u"171"_s, u"off"_s}}});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 2 display(s), mode wall"_s));
    EXPECT_TRUE(becomes([&] {
        const QImage picture = m_display.client().picture();
        EXPECT_TRUE(test::isFilledWith(picture, kSecond, kBackground));
        return test::seenPattern(picture, kFirst).has_value();
    }));
    const QList<test::XWindow> windows = m_display.client().windows();
    ASSERT_EQ(windows.size(), 1);
    EXPECT_EQ(windows.first().frame, kFirst);
}

// Some window managers give the keys to whatever comes up.
TEST_F(OffScreens, KeepTheKeys)
{
    m_display.startWindowManager();
    const auto wallIsLeftAlone = [this] {
        const QList<test::XWindow> windows = m_display.client().windows();
        return windows.size() == 1 && m_display.client().cameWithoutFocus(windows.first().id);
    };
    m_program.configure({{u"products"_s, QJsonArray{u"171"_s, u"off"_s}}});
    m_program.start();
    EXPECT_TRUE(becomes(wallIsLeftAlone));
    m_program.configure({{u"products"_s, QJsonArray{u"171"_s, u"171"_s}}});
    m_program.start();
    ASSERT_TRUE(becomes([this] { return m_display.client().windows().size() == 2; }));
    for (const test::XWindow &wall : m_display.client().windows())
        EXPECT_FALSE(m_display.client().cameWithoutFocus(wall.id)) << "no screen is in use";
}

TEST_F(OffScreens, OpenTheSettingsWindowWhenThereIsNoOtherScreen)
{
    m_program.configure({{u"products"_s, QJsonArray{u"off"_s}}});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"every screen is Off; nothing to show"_s));
    ASSERT_TRUE(becomes([&] { return !m_display.client().windows().isEmpty(); }));
    const QList<test::XWindow> windows = m_display.client().windows();
    ASSERT_EQ(windows.size(), 1);
    EXPECT_EQ(windows.first().title, u"Corvella");
    EXPECT_LT(windows.first().frame.width(), kFirst.width());
    EXPECT_LT(windows.first().frame.height(), kFirst.height());
    EXPECT_FALSE(m_program.messages().contains(u"showing on"_s));
}

} // namespace
} // namespace corvella
