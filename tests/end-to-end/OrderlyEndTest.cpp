// How the program ends.
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

// With a wall up and playing.
class OrderlyEnd : public testing::Test
{
protected:
    OrderlyEnd()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
        m_program.start();
        EXPECT_TRUE(becomes([this] {
            return test::seenPattern(m_display.client().picture(), QRect(0, 0, 640, 480))
                .has_value();
        }));
    }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

class OrderlyEndOn : public OrderlyEnd, public testing::WithParamInterface<int>
{
};

TEST_P(OrderlyEndOn, TakesTheWallDownAndSucceeds)
{
    m_program.process().signal(GetParam());
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_TRUE(m_display.client().windows().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Signals, OrderlyEndOn, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto &row) {
                             return row.param == SIGTERM ? "Terminate"
                                 : row.param == SIGINT   ? "Interrupt"
                                                         : "HangUp";
                         });

TEST_F(OrderlyEnd, ComesAlsoWhenTheDisplayServerGoes)
{
    m_display.stop();
    EXPECT_TRUE(m_program.process().exitStatus().has_value());
}

} // namespace
} // namespace corvella
