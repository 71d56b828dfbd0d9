// How the program ends.
#include "platform/storage/FileDescriptor.h"
#include "support/ProgramUnderTest.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <QJsonArray>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <sysexits.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

class WallOnADisplay : public testing::Test
{
protected:
    WallOnADisplay()
    {
        m_program.showOn(m_display);
        m_program.configureWall();
    }

    [[nodiscard]] std::optional<test::SeenPattern> seen()
    {
        return test::seenPattern(m_display.client().picture(), {0, 0, 640, 480});
    }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

// With a wall up and playing.
class OrderlyEnd : public WallOnADisplay
{
protected:
    OrderlyEnd()
    {
        m_program.addClip(u"171"_s, 1);
        m_program.start();
        EXPECT_TRUE(becomes([this] { return seen().has_value(); }));
    }
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

// As nohup has it, so that the wall outlives the terminal that it was started from.
TEST_F(WallOnADisplay, PlaysOnThroughAHangUpThatWasIgnoredFromTheStart)
{
    m_program.addClip(u"171"_s, 1);
    (void)std::signal(SIGHUP, SIG_IGN); // which a child takes over
    m_program.start();
    (void)std::signal(SIGHUP, SIG_DFL);
    ASSERT_TRUE(becomes([this] { return seen().has_value(); }));
    m_program.process().signal(SIGHUP);
    const int frame = seen()->frame;
    EXPECT_TRUE(becomes([&] {
        const auto now = seen();
        return now && now->frame != frame;
    }));
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

// A host that lets connections in and says nothing.
class SilentHost
{
public:
    SilentHost()
    {
        EXPECT_EQ(::listen(m_socket.get(), 8), 0); // on a port of the system's choice
        socklen_t size = sizeof m_address;
        EXPECT_EQ(::getsockname(m_socket.get(), reinterpret_cast<sockaddr *>(&m_address), &size),
                  0);
    }
    [[nodiscard]] QString name() const { return u"127.0.0.1:%1"_s.arg(ntohs(m_address.sin_port)); }
    // Whether somebody has come.
    [[nodiscard]] bool isAsked() const
    {
        pollfd guests{m_socket.get(), POLLIN, 0};
        return ::poll(&guests, 1, 0) == 1;
    }

private:
    FileDescriptor m_socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_in m_address{};
};

// Qt ends the process on the spot, and a refresh goes on in another thread.
TEST_F(WallOnADisplay, EndsWithoutACrashWhenTheDisplayServerGoesDuringARefresh)
{
    const SilentHost host;
    m_program.addClip(u"171"_s, 1);
    m_program.configure({{u"offline"_s, false}, {u"imageryHost"_s, host.name()}});
    m_program.start();
    ASSERT_TRUE(becomes([&] { return seen().has_value() && host.isAsked(); }));
    m_display.stop();
    EXPECT_EQ(m_program.process().exitStatus(), EX_UNAVAILABLE);
}

// As when the terminal or the launcher that it was started from is gone, or reads no more.
class WithoutAReader : public WallOnADisplay,
                       public testing::WithParamInterface<test::StandardError>
{
};

TEST_P(WithoutAReader, WallPlaysOnAndEndsInOrder)
{
    constexpr int kFrames = 15; // a second
    // Each change of clips has it say a long line.
    const QString one(200, u'1');
    const QString two(200, u'2');
    m_program.addClip(one, 1, kFrames);
    m_program.addClip(two, 2, kFrames);
    m_program.configure({{u"products"_s, QJsonArray{QString(one + u',' + two)}}});
    m_program.setStandardError(GetParam());
    m_program.start();
    for (const int clip : {1, 2, 1, 2})
        ASSERT_TRUE(becomes([&] { return seen() && seen()->clip == clip; })) << clip;
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_TRUE(m_display.client().windows().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfItsMessages, WithoutAReader,
                         testing::Values(test::StandardError::closed,
                                         test::StandardError::withoutReader,
                                         test::StandardError::full,
                                         test::StandardError::stoppedTerminal),
                         [](const auto &row) {
                             return row.param == test::StandardError::closed       ? "Closed"
                                 : row.param == test::StandardError::withoutReader ? "Gone"
                                 : row.param == test::StandardError::full          ? "Hung"
                                                                                   : "Stopped";
                         });

} // namespace
} // namespace corvella
