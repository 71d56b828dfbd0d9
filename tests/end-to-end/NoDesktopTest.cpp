// A wall where there is no desktop: on platforms that Qt brings along.
#include "support/Loopback.h"
#include "support/ProgramUnderTest.h"
#include "support/RfbClient.h"
#include "support/TestPattern.h"

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

class NoDesktop : public testing::Test
{
protected:
    NoDesktop()
    {
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    test::ProgramUnderTest m_program;
};

TEST_F(NoDesktop, WallPlaysUnseen)
{
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    EXPECT_TRUE(m_program.logs(u"playing 171"_s));
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

TEST_F(NoDesktop, IdleTimeIsNotKnownAndTheSaverNeverComes)
{
    m_program.configure({{u"mode"_s, u"saver"_s}, {u"idleMinutes"_s, 0.001}});
    m_program.showOnPlatform(u"offscreen"_s);
    m_program.start({u"--seconds"_s, u"1"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_EQ(m_program.messages().count(
                  u"idle time: this session does not tell it; nothing starts by itself"_s),
              1);
    EXPECT_TRUE(m_program.messages().filter(u"showing on"_s).isEmpty());
}

TEST_F(NoDesktop, WallIsSeenFromAfar)
{
    const quint16 port = test::freePort();
    m_program.showOnPlatform(u"vnc:size=800x450:port=%1"_s.arg(port));
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));

    test::RfbClient client(port);
    const QRect picture(100, 0, 600, 450);
    QImage grab;
    ASSERT_TRUE(becomes([&] {
        grab = client.picture();
        const std::optional<test::SeenPattern> seen = test::seenPattern(grab, picture);
        return seen && seen->isWhole;
    }));
    EXPECT_EQ(grab.size(), QSize(800, 450));
    EXPECT_TRUE(test::isBlackBeside(grab, QRect(0, 0, 800, 450), picture));
    const int frame = test::seenPattern(grab, picture)->frame;
    EXPECT_TRUE(becomes([&] {
        const std::optional<test::SeenPattern> seen = test::seenPattern(client.picture(), picture);
        return seen && seen->frame > frame;
    }));
}

// There all input is the program's, and it tells idle time from it.
class Alone : public NoDesktop
{
protected:
    // Starts the program, with a screen of 800 x 450.
    void start()
    {
        const quint16 port = test::freePort();
        m_program.showOnPlatform(u"vnc:size=800x450:port=%1"_s.arg(port));
        m_program.start();
        m_viewer.emplace(port);
    }

    // The cross of the close button is white in the middle.
    [[nodiscard]] bool isButtonThere()
    {
        const QImage picture = m_viewer->picture();
        return !picture.isNull() && qGray(picture.pixel(740, 60)) > 250;
    }

    std::optional<test::RfbClient> m_viewer;
};

TEST_F(Alone, TheCloseButtonComesWithThePointerAndGoesWithoutIt)
{
    start();
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    EXPECT_TRUE(becomes([this] { return !isButtonThere(); }));
    EXPECT_TRUE(becomes([this] {
        m_viewer->movePointer({100, 100});
        m_viewer->movePointer({120, 120});
        return isButtonThere();
    }));
    EXPECT_TRUE(becomes([this] { return !isButtonThere(); }));
}

TEST_F(Alone, TheSaverComesAndAnyKeyEndsIt)
{
    m_program.configure(
        {{u"mode"_s, u"saver"_s}, {u"idleMinutes"_s, 0.01}, {u"lockOnDismiss"_s, false}});
    start();
    ASSERT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s));
    m_viewer->press(' ');
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s, 2))
        << "it comes again";
}

} // namespace
} // namespace corvella
