// A display server that is there and answers nothing.
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"
#include "support/SpedUpTime.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sysexits.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

// The program asks it much at its end.
class HungDisplay : public testing::TestWithParam<test::StandardError>
{
};

TEST_P(HungDisplay, HoldsUpTheEndForAWhileOnly)
{
    constexpr QSize kSize(640, 480);
    const test::SpedUpTime time(60);
    test::VirtualDisplay display(kSize);
    test::ProgramUnderTest program;
    program.showOn(display);
    program.configureWall();
    program.addClip(u"171"_s, 1);
    time.take(program);
    program.setStandardError(GetParam());
    program.start();
    ASSERT_TRUE(test::becomes([&] {
        return test::seenPattern(display.client().picture(), {QPoint(), kSize}).has_value();
    }));

    const auto server = static_cast<pid_t>(display.id());
    ASSERT_EQ(::kill(server, SIGSTOP), 0);
    program.process().signal(SIGTERM);
    EXPECT_EQ(program.process().exitStatus(), EX_UNAVAILABLE);
    if (GetParam() == test::StandardError::captured) {
        EXPECT_EQ(program.messages().last(),
                  u"told to end 20 s ago, and still waiting for something; ending at once"_s);
    }
    ASSERT_EQ(::kill(server, SIGCONT), 0);
}

// Whoever waits for its answer: we, who ask for it first, or Qt, where it is told which one to use.
enum class Hung { xServerForUs, xServerForQt, compositor };

class HungDisplayAtTheStart : public testing::TestWithParam<Hung>
{
protected:
    // The process that is to hang.
    pid_t showSomewhere()
    {
        if (GetParam() == Hung::compositor) {
            m_program.showOn(m_compositor.emplace(QList{QRect(0, 0, 640, 480)}));
            return static_cast<pid_t>(m_compositor->compositor().id());
        }
        m_program.showOn(m_server.emplace(QSize(640, 480)));
        if (GetParam() == Hung::xServerForQt)
            m_program.setVariable(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        return static_cast<pid_t>(m_server->id());
    }

    std::optional<test::VirtualDisplay> m_server;
    std::optional<test::HeadlessSway> m_compositor;
    test::ProgramUnderTest m_program;
};

TEST_P(HungDisplayAtTheStart, IsNotWaitedForForever)
{
    const test::SpedUpTime time(60);
    const pid_t server = showSomewhere();
    m_program.configureWall();
    time.take(m_program);
    ASSERT_EQ(::kill(server, SIGSTOP), 0);
    m_program.start();
    EXPECT_EQ(m_program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_EQ(m_program.messages(),
              QStringList{u"display: no connection to it within two minutes; ending"_s});
    ASSERT_EQ(::kill(server, SIGCONT), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, HungDisplayAtTheStart,
                         testing::Values(Hung::xServerForUs, Hung::xServerForQt, Hung::compositor),
                         [](const auto &row) {
                             return row.param == Hung::xServerForUs ? "AnXServerWeAsk"
                                 : row.param == Hung::xServerForQt  ? "AnXServerQtAsks"
                                                                    : "ACompositor";
                         });

// Where a terminal on that display is what it tells it to, that hangs, too.
INSTANTIATE_TEST_SUITE_P(WhoseMessagesAre, HungDisplay,
                         testing::Values(test::StandardError::captured, test::StandardError::full),
                         [](const auto &row) {
                             return row.param == test::StandardError::captured ? "Read" : "Unread";
                         });

} // namespace
} // namespace corvella
