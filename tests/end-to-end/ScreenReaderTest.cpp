// Walls for people who do not see them.
#include "support/ScreenReader.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

class ReadAloud : public testing::Test
{
protected:
    ReadAloud()
    {
        m_display.startWindowManager();
        m_program.showOn(m_display);
        m_program.setSessionBus(m_bus);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
    }

    // What the reader finds under this name, once it is there.
    test::ScreenReader::Thing thing(const QString &name)
    {
        std::optional<test::ScreenReader::Thing> found;
        EXPECT_TRUE(becomes([&] {
            found = m_reader.find(name);
            return found.has_value();
        })) << name.toStdString();
        return found.value_or(test::ScreenReader::Thing());
    }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::PrivateBus m_bus;
    test::ScreenReader m_reader{m_bus};
    test::ProgramUnderTest m_program;
};

TEST_F(ReadAloud, TheCloseButtonIsAButtonThatClosesTheWall)
{
    m_program.start();
    const test::ScreenReader::Thing button = thing(u"Close the wall"_s);
    EXPECT_EQ(button.role, u"push button"_s);
    m_reader.press(button);
    EXPECT_TRUE(becomes([this] { return !m_reader.find(u"Close the wall"_s); }));
    EXPECT_TRUE(m_program.process().isRunning());
}

TEST_F(ReadAloud, TheKiosksBadgeIsAGraphic)
{
    m_program.configure({{u"mode"_s, u"kiosk"_s}});
    m_program.start();
    EXPECT_EQ(thing(u"Kiosk mode, locked"_s).role, u"graphic"_s);
    EXPECT_FALSE(m_reader.find(u"Close the wall"_s));
}

} // namespace
} // namespace corvella
