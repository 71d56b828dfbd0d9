// Two monitors beside each other, and a program with two clips to show on them.
#pragma once

#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {

constexpr QRect kLeft(0, 0, 400, 300);
constexpr QRect kRight(400, 0, 400, 300);

class TwoMonitors : public testing::Test
{
protected:
    TwoMonitors()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(QStringLiteral("171"), 1);
        m_program.addClip(QStringLiteral("193"), 2);
    }

    [[nodiscard]] std::optional<test::SeenPattern> seen(const QRect &part)
    {
        return test::seenPattern(m_display.client().picture(), part);
    }
    // The clip that is seen there whole, 0 for none.
    [[nodiscard]] int clipOn(const QRect &part)
    {
        const std::optional<test::SeenPattern> pattern = seen(part);
        return pattern && pattern->isWhole ? pattern->clip : 0;
    }

    test::VirtualDisplay m_display{QSize(800, 300)};
    test::ProgramUnderTest m_program;
};

} // namespace corvella
