#include "platform/video/ClipProtocol.h"

#include <gtest/gtest.h>

#include <array>
#include <sys/socket.h>

namespace corvella {
namespace {

class ClipProtocol : public testing::Test
{
protected:
    ClipProtocol()
    {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
        m_program = FileDescriptor(ends[0]);
        m_reader = FileDescriptor(ends[1]);
    }

    FileDescriptor m_program;
    FileDescriptor m_reader;
};

TEST_F(ClipProtocol, KeepsNobodyWaitingForAReaderThatTakesNoRequest)
{
    int sent = 0;
    while (sendMessage(m_program.get(), ClipRequest{}))
        ++sent;
    EXPECT_GT(sent, 10) << "there is room for those of a picture";
    FileDescriptor none;
    EXPECT_TRUE(receiveRequest(m_reader.get(), none));
    EXPECT_TRUE(sendMessage(m_program.get(), ClipRequest{})) << "it takes them again";
}

TEST_F(ClipProtocol, WaitsNoLongerThanItsPatience)
{
    Patience none(0);
    EXPECT_FALSE(none.waitForMessage(m_program.get()));
    EXPECT_TRUE(sendMessage(m_reader.get(), ClipReply{}));
    EXPECT_TRUE(none.waitForMessage(m_program.get())) << "what is there is not waited for";
}

} // namespace
} // namespace corvella
