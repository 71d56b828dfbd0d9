// The graphics processor lets a wall down, and is there again later.
#include "support/AlteredMachine.h"
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QFile>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

constexpr QSize kDisplay(640, 480);
constexpr auto kSoonEnough = 2s; // from the loss to the right picture

enum class Desktop { x11, wayland };

class LostOpenGl : public testing::TestWithParam<Desktop>
{
protected:
    LostOpenGl()
    {
        if (GetParam() == Desktop::x11) {
            m_program.showOn(m_server.emplace(kDisplay));
        } else {
            m_program.showOn(m_compositor.emplace(QList{QRect({0, 0}, kDisplay)}));
            // A sanitizer that looks at whole stacks and the driver's compiler wait for each other.
            m_program.addOption(u"ASAN_OPTIONS"_s, u"fast_unwind_on_malloc=1:detect_leaks=0"_s);
        }
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1, kPictures);
        m_program.drawByOpenGl(m_machine);
        m_program.setVariable(u"LD_PRELOAD"_s,
                              m_program.environment().value(u"LD_PRELOAD"_s) + u":"_s
                                  + QStringLiteral(CORVELLA_LOST_OPENGL));
        m_program.setVariable(u"LOST_OPENGL"_s, m_lost.fileName());
    }

    void lose() { ASSERT_TRUE(m_lost.open(QIODevice::WriteOnly)); }
    void giveBack() { ASSERT_TRUE(m_lost.remove()); }

    [[nodiscard]] std::optional<int> frame()
    {
        const QImage picture = m_server ? m_server->client().picture() : m_compositor->picture(0);
        const auto seen = test::seenPattern(picture, QRect(QPoint(0, 0), kDisplay));
        return seen && seen->isWhole ? std::optional(seen->frame) : std::nullopt;
    }
    [[nodiscard]] bool playsOn()
    {
        std::optional<int> first;
        return becomes([&] {
            const std::optional<int> now = frame();
            if (!first)
                first = now;
            return now && now != first;
        });
    }

    static constexpr int kPictures = 150;
    std::optional<test::VirtualDisplay> m_server;
    std::optional<test::HeadlessSway> m_compositor;
    test::AlteredMachine m_machine;
    test::ProgramUnderTest m_program;
    QFile m_lost{m_program.home() + u"/lost"_s};
};

TEST_P(LostOpenGl, IsMadeAnewUnderAWallThatPlays)
{
    m_program.start();
    ASSERT_TRUE(playsOn());
    // The quickest of a few counts, since what else the machine does only ever adds to it.
    std::chrono::nanoseconds quickest = std::chrono::nanoseconds::max();
    int losses = 0;
    while (losses < 3 && quickest > kSoonEnough) {
        const test::Stopwatch sinceLoss;
        lose();
        ASSERT_TRUE(m_program.logs(
            u"renderer: no OpenGL for this window (no context); trying again"_s, ++losses));
        giveBack();
        ASSERT_TRUE(playsOn());
        quickest = std::min(quickest, sinceLoss.elapsed());
    }
    EXPECT_LE(quickest, kSoonEnough);
    EXPECT_EQ(m_program.messages().filter(u"no OpenGL"_s).size(), losses);
    EXPECT_TRUE(m_program.process().isRunning());
}

INSTANTIATE_TEST_SUITE_P(On, LostOpenGl, testing::Values(Desktop::x11, Desktop::wayland),
                         [](const auto &row) {
                             return row.param == Desktop::x11 ? "X11" : "Wayland";
                         });

} // namespace
} // namespace corvella
