// The module in the windows of a host.
#include "saver/TwoMonitors.h"

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

class SaverModule : public TwoMonitors
{
protected:
    std::unique_ptr<test::ChildProcess>
    start(const QStringList &arguments, const QString &variable = {},
          test::StandardError standardError = test::StandardError::captured)
    {
        QProcessEnvironment environment = m_program.environment();
        if (!variable.isEmpty())
            environment.insert(u"XSCREENSAVER_WINDOW"_s, variable);
        return std::make_unique<test::ChildProcess>(
            test::Command{.program = QStringLiteral(CORVELLA_SAVER),
                          .arguments = arguments,
                          .environment = environment,
                          .folder = {},
                          .standardError = standardError});
    }

    // Which clip is seen there sooner or later, 0 for none.
    [[nodiscard]] int clipSeenOn(const QRect &part)
    {
        int clip = 0;
        (void)becomes([&] { return (clip = clipOn(part)) > 0; });
        return clip;
    }

    static QString hexadecimal(quint32 window) { return u"0x"_s + QString::number(window, 16); }
};

TEST_F(SaverModule, PlaysInTheWindowOfTheVariableAndBlackBesideIt)
{
    const quint32 host = m_display.client().openWindow({0, 0, 800, 300});
    const auto saver = start({u"--root"_s}, hexadecimal(host));
    EXPECT_EQ(clipSeenOn({200, 0, 400, 300}), 1);
    EXPECT_TRUE(
        test::isBlackBeside(m_display.client().picture(), {0, 0, 800, 300}, {200, 0, 400, 300}));
}

TEST_F(SaverModule, PlaysInTheWindowOfAPreview)
{
    const quint32 host = m_display.client().openWindow(kLeft);
    const auto saver = start({u"--window-id"_s, hexadecimal(host)});
    EXPECT_EQ(clipSeenOn(kLeft), 1);
}

TEST_F(SaverModule, PlaysOnTheBackgroundWhereNobodySaysMore)
{
    const quint32 above = m_display.client().openWindow({0, 0, 50, 50});
    const auto saver = start({u"-root"_s});
    EXPECT_EQ(clipSeenOn({200, 0, 400, 300}), 1);
    m_display.client().closeWindow(above);
}

TEST_F(SaverModule, FollowsItsWindowsSize)
{
    const quint32 host = m_display.client().openWindow(kLeft);
    const auto saver = start({u"--root"_s}, hexadecimal(host));
    ASSERT_EQ(clipSeenOn(kLeft), 1);
    m_display.client().resizeWindow(host, {800, 300});
    EXPECT_EQ(clipSeenOn({200, 0, 400, 300}), 1);
}

TEST_F(SaverModule, LeavesWithSuccessWhenItIsTold)
{
    const quint32 host = m_display.client().openWindow(kLeft);
    for (const int request : {SIGTERM, SIGINT, SIGHUP}) {
        const auto saver = start({u"--root"_s}, hexadecimal(host));
        ASSERT_EQ(clipSeenOn(kLeft), 1);
        saver->signal(request);
        EXPECT_EQ(saver->exitStatus(1s), 0) << request;
        ASSERT_TRUE(becomes([&] { return !seen(kLeft); }));
    }
}

TEST_F(SaverModule, LeavesWithItsWindow)
{
    const quint32 host = m_display.client().openWindow(kLeft);
    const auto saver = start({u"--root"_s}, hexadecimal(host));
    ASSERT_EQ(clipSeenOn(kLeft), 1);
    m_display.client().closeWindow(host);
    EXPECT_EQ(saver->exitStatus(1s), 0);
}

TEST_F(SaverModule, PlaysOnWhereNobodyReadsItsMessages)
{
    const quint32 host = m_display.client().openWindow(kLeft);
    for (const auto how : {test::StandardError::closed, test::StandardError::withoutReader}) {
        const auto saver = start({u"--root"_s}, hexadecimal(host), how);
        EXPECT_EQ(clipSeenOn(kLeft), 1);
        saver->signal(SIGTERM);
        EXPECT_EQ(saver->exitStatus(), 0);
        ASSERT_TRUE(becomes([&] { return !seen(kLeft); }));
    }
}

TEST_F(SaverModule, SaysThatThereIsNoSuchWindow)
{
    const auto saver = start({u"--window-id"_s, u"0x7fffffff"_s});
    EXPECT_EQ(saver->exitStatus(), 1);
    EXPECT_TRUE(saver->errors().contains("saver: there is no window 0x7fffffff"));
}

TEST_F(SaverModule, ShowsAnotherProductInEachOfItsProcesses)
{
    const quint32 left = m_display.client().openWindow(kLeft);
    const quint32 right = m_display.client().openWindow(kRight);
    const auto one = start({u"--root"_s}, hexadecimal(left));
    const auto other = start({u"--root"_s}, hexadecimal(right));
    EXPECT_EQ(clipSeenOn(kLeft) + clipSeenOn(kRight), 1 + 2);
}

// MATE's tells its savers little more than their home, their display and their window.
TEST_F(SaverModule, ShowsAnotherProductInEachWhereNobodyTellsOfTheSession)
{
    m_program.setVariable(u"TMPDIR"_s, m_program.home());
    m_program.setVariable(u"XDG_RUNTIME_DIR"_s, {});
    const quint32 left = m_display.client().openWindow(kLeft);
    const quint32 right = m_display.client().openWindow(kRight);
    const auto one = start({u"--root"_s}, hexadecimal(left));
    const auto other = start({u"--root"_s}, hexadecimal(right));
    EXPECT_EQ(clipSeenOn(kLeft) + clipSeenOn(kRight), 1 + 2);
}

TEST_F(SaverModule, ShowsThatScreensOwnProducts)
{
    m_program.configure({{u"products"_s, QJsonArray{u"193"_s, u"171"_s}}});
    m_display.plugIn(u"L"_s, kLeft);
    m_display.plugIn(u"R"_s, kRight);
    const quint32 right = m_display.client().openWindow(kRight);
    const auto saver = start({u"--root"_s}, hexadecimal(right));
    EXPECT_EQ(clipSeenOn(kRight), 1);
}

TEST_F(SaverModule, KeepsAScreenBlackThatIsOff)
{
    m_program.configure({{u"products"_s, QJsonArray{u"off"_s}}});
    const quint32 host = m_display.client().openWindow(kLeft);
    const auto saver = start({u"--root"_s}, hexadecimal(host));
    EXPECT_TRUE(becomes(
        [&] { return test::isFilledWith(m_display.client().picture(), kLeft, Qt::black); }));
    EXPECT_FALSE(becomes([&] { return seen(kLeft).has_value(); }, 1s));
}

TEST_F(SaverModule, ChangesNothingOfTheUsers)
{
    const quint32 host = m_display.client().openWindow(kLeft);
    const QStringList before = m_program.content();
    const auto saver = start({u"--root"_s}, hexadecimal(host));
    ASSERT_EQ(clipSeenOn(kLeft), 1);
    QStringList after = m_program.content();
    after.removeIf([](const QString &path) { return path.startsWith(u"run/"); });
    EXPECT_EQ(after, before);
}

} // namespace
} // namespace corvella
