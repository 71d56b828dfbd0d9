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
TEST(HungDisplay, HoldsUpTheEndForAWhileOnly)
{
    constexpr QSize kSize(640, 480);
    const test::SpedUpTime time(60);
    test::VirtualDisplay display(kSize);
    test::ProgramUnderTest program;
    program.showOn(display);
    program.configureWall();
    program.addClip(u"171"_s, 1);
    time.take(program);
    program.start();
    ASSERT_TRUE(test::becomes([&] {
        return test::seenPattern(display.client().picture(), {QPoint(), kSize}).has_value();
    }));

    const auto server = static_cast<pid_t>(display.id());
    ASSERT_EQ(::kill(server, SIGSTOP), 0);
    program.process().signal(SIGTERM);
    EXPECT_EQ(program.process().exitStatus(), EX_UNAVAILABLE);
    EXPECT_EQ(program.messages().last(),
              u"told to end 20 s ago, and still waiting for something; ending at once"_s);
    ASSERT_EQ(::kill(server, SIGCONT), 0);
}

} // namespace
} // namespace corvella
