// The session of a machine that is a kiosk and nothing else, with the very configuration that is
// installed there.
#include "support/HeadlessSway.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

// Of a clip that is four wide by three high, on a display of 1280 x 720 pixels.
constexpr QRect kPicture(160, 0, 960, 720);
// On one that is plugged in later, of 1920 x 1080.
constexpr QRect kLaterPicture(240, 0, 1440, 1080);

class KioskSession : public testing::Test
{
protected:
    KioskSession()
    {
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"kiosk"_s}});
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
        // Where the session finds the program.
        const QString folder = QFileInfo(test::ProgramUnderTest::executable()).path();
        m_program.setVariable(u"PATH"_s, folder + u':' + m_program.environment().value(u"PATH"_s));
    }

    void start()
    {
        m_session.emplace(QStringLiteral(CORVELLA_KIOSK_FOLDER "/sway.conf"), 2,
                          m_program.environment());
        ASSERT_TRUE(becomes([this] { return isCovered(0) && isCovered(1); }))
            << m_session->compositor().errors().toStdString();
    }

    [[nodiscard]] bool isCovered(int output, const QRect &picture = kPicture)
    {
        return test::seenPattern(m_session->picture(output), picture).has_value();
    }
    [[nodiscard]] bool logs(const QString &message)
    {
        return becomes([&] {
            return m_session->compositor().errorLines().contains(u"corvella: "_s + message);
        });
    }
    [[nodiscard]] bool ends()
    {
        return becomes([this] { return !m_session->compositor().isRunning(); });
    }
    // The process of the only window there is; none while there is none.
    [[nodiscard]] std::optional<pid_t> ownerOfTheWindow()
    {
        const QRegularExpression owner(u"\"pid\": (\\d+)"_s);
        const auto found =
            owner.match(QString::fromUtf8(m_session->tell({u"-r"_s, u"-t"_s, u"get_tree"_s})));
        return found.hasMatch() ? std::optional<pid_t>(found.captured(1).toInt()) : std::nullopt;
    }

    test::ProgramUnderTest m_program;
    std::optional<test::HeadlessSway> m_session;
};

TEST_F(KioskSession, ShowsALockedWallOnEveryDisplay)
{
    start();
    EXPECT_TRUE(logs(u"showing on 2 of 2 display(s), mode kiosk"_s));
    EXPECT_TRUE(logs(u"kiosk: locked"_s));
    EXPECT_FALSE(ownerOfTheWindow()) << "there is a window besides the walls";
}

TEST_F(KioskSession, CoversADisplayThatIsPluggedIn)
{
    start();
    m_session->tell({u"create_output"_s});
    EXPECT_TRUE(logs(u"display layout changed (2 -> 3)"_s));
    EXPECT_TRUE(becomes([this] { return isCovered(2, kLaterPicture); }));
}

TEST_F(KioskSession, EndsWhenToldTo)
{
    start();
    m_session->compositor().signal(SIGTERM);
    EXPECT_TRUE(ends());
}

// So that both are started anew.
TEST_F(KioskSession, EndsWithTheProgram)
{
    start();
    m_session->typeKey(u"q"_s, {u"ctrl"_s, u"logo"_s, u"alt"_s});
    ASSERT_TRUE(becomes([this] { return ownerOfTheWindow().has_value(); })) << "no settings";
    ::kill(*ownerOfTheWindow(), SIGKILL);
    EXPECT_TRUE(ends());
}

} // namespace
} // namespace corvella
