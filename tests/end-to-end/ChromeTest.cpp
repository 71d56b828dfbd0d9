// What lies over a wall, as somebody in front of it finds it: with a camera and with a mouse.
#include "support/CodeScanner.h"
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

struct Display
{
    const char *name;
    QSize size;
    const char *scale;
};

class CodeOnTheWall : public testing::TestWithParam<Display>
{
};

TEST_P(CodeOnTheWall, LeadsToTheClipsPage)
{
    test::VirtualDisplay display(GetParam().size);
    test::ProgramUnderTest program;
    program.showOn(display);
    program.configureWall();
    program.configure({{u"attribution"_s, true}, {u"storeHost"_s, u"sun.example.org"_s}});
    program.addClip(u"171"_s, 1);
    program.setVariable(u"QT_SCALE_FACTOR"_s, QString::fromLatin1(GetParam().scale));
    program.start();
    QList<QByteArray> codes;
    ASSERT_TRUE(becomes([&] {
        codes = test::scannedCodes(display.client().picture());
        return !codes.isEmpty();
    }));
    ASSERT_EQ(codes.size(), 1);
    EXPECT_TRUE(codes.first().startsWith("https://sun.example.org/?utm_source=corvella&d="))
        << codes.first().toStdString();
    EXPECT_TRUE(codes.first().endsWith("&wl=171"));
}

INSTANTIATE_TEST_SUITE_P(Displays, CodeOnTheWall,
                         testing::Values(Display{"FullHd", {1920, 1080}, "1"},
                                         Display{"FourK", {3840, 2160}, "1"},
                                         Display{"FourKAtTwo", {3840, 2160}, "2"},
                                         Display{"FullHdAtAQuarterMore", {1920, 1080}, "1.25"}),
                         [](const auto &test) { return test.param.name; });

// A wall of 640 x 480, whose close button is the square from 548, 28.
class CloseButtonOnTheWall : public testing::Test
{
protected:
    CloseButtonOnTheWall()
    {
        m_display.startWindowManager();
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
        m_program.start();
    }

    void moveMouse(int x, int y)
    {
        m_display.input({u"mousemove"_s, QString::number(x), QString::number(y)});
    }
    // Its cross is white in the middle.
    [[nodiscard]] bool isButtonThere()
    {
        return qGray(m_display.client().picture().pixel(580, 60)) > 250;
    }
    // The title is the settings window's.
    [[nodiscard]] bool areSettingsOpen()
    {
        const QList<test::XWindow> windows = m_display.client().windows();
        return windows.size() == 1 && windows.first().frame.width() < 640;
    }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

TEST_F(CloseButtonOnTheWall, ComesWithTheMouseGoesWithoutItAndCloses)
{
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    ASSERT_TRUE(becomes([this] { return !isButtonThere(); }));
    moveMouse(100, 100);
    moveMouse(110, 110);
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    EXPECT_TRUE(becomes([this] { return !isButtonThere(); })) << "after a few seconds";
    moveMouse(550, 30); // in its square, beside the disc
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    m_display.input({u"click"_s, u"1"_s});
    EXPECT_TRUE(becomes([this] { return areSettingsOpen(); }));
}

TEST_F(CloseButtonOnTheWall, LeavesTheWallAloneWhenAClickIsElsewhere)
{
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    moveMouse(540, 100);
    EXPECT_TRUE(becomes([this] { return isButtonThere(); }));
    m_display.input({u"click"_s, u"1"_s});
    EXPECT_FALSE(becomes([this] { return areSettingsOpen(); }, 500ms));
}

} // namespace
} // namespace corvella
