// What reads clips is loaded with the first of them.
#include "support/AlteredMachine.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

constexpr QRect kOnlyScreen(0, 0, 640, 480);

class ClipModule : public testing::Test
{
protected:
    ClipModule()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    [[nodiscard]] bool isShown()
    {
        return test::seenPattern(m_display.client().picture(), kOnlyScreen).has_value();
    }

    // Whether the running program has FFmpeg in its memory.
    [[nodiscard]] bool isLoaded()
    {
        QFile maps(u"/proc/%1/maps"_s.arg(m_program.process().id()));
        EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
        const QByteArray all = maps.readAll();
        EXPECT_TRUE(all.contains("libQt6Core"));
        return all.contains("libavcodec");
    }

    test::VirtualDisplay m_display{kOnlyScreen.size()};
    test::ProgramUnderTest m_program;
};

TEST_F(ClipModule, IsThereWhileAWallShows)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return isShown(); }));
    EXPECT_TRUE(isLoaded());
}

TEST_F(ClipModule, IsLeftAloneByAProgramThatShowsNoClip)
{
    m_program.configure({{u"mode"_s, u"desktop"_s}});
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"desktop mode: resident, no windows"_s));
    EXPECT_FALSE(isLoaded());
}

// As any other reason for which a clip does not play.
TEST_F(ClipModule, MissingIsSaidAndLeavesTheWallUp)
{
    const QString folder =
        QFileInfo(test::ProgramUnderTest::executable()).dir().filePath(u"../lib/corvella"_s);
    test::AlteredMachine machine;
    machine.emptyFolder(QDir::cleanPath(folder));
    m_program.setMachine(machine);
    m_program.start();
    ASSERT_TRUE(m_program.logs(u"nothing to play here yet; looking again in 5 s"_s));
    const QStringList complaints = m_program.messages().filter(u"clip does not play"_s);
    ASSERT_EQ(complaints.size(), 1);
    EXPECT_TRUE(complaints.first().startsWith(
        u"clip does not play, passing it over: %1: what reads clips cannot be loaded: "_s.arg(
            m_program.clipPath(u"171"_s))));
    EXPECT_TRUE(complaints.first().endsWith(u"No such file or directory"_s));
    EXPECT_EQ(m_display.client().windows().size(), 1);
    EXPECT_TRUE(m_program.process().isRunning());
}

} // namespace
} // namespace corvella
