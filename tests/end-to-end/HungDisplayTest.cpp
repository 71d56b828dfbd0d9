// A display server that is there and answers nothing.
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

TEST(HungDisplayAtTheStart, IsNotWaitedForForever)
{
    const test::SpedUpTime time(60);
    const test::VirtualDisplay display({640, 480});
    test::ProgramUnderTest program;
    program.showOn(display);
    program.configureWall();
    time.take(program);
    const auto server = static_cast<pid_t>(display.id());
    ASSERT_EQ(::kill(server, SIGSTOP), 0);
    program.start();
    EXPECT_EQ(program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_EQ(program.messages(),
              QStringList{u"display: no connection to it within two minutes; ending"_s});
    ASSERT_EQ(::kill(server, SIGCONT), 0);
}

// Where a terminal on that display is what it tells it to, that hangs, too.
INSTANTIATE_TEST_SUITE_P(WhoseMessagesAre, HungDisplay,
                         testing::Values(test::StandardError::captured, test::StandardError::full),
                         [](const auto &row) {
                             return row.param == test::StandardError::captured ? "Read" : "Unread";
                         });

} // namespace
} // namespace corvella
