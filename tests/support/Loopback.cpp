#include "support/Loopback.h"

#include "platform/storage/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace corvella::test {

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

quint16 freePort()
{
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(0);
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address),
              0);
    return portOf(socket.get());
}

quint16 portOf(int socket)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    EXPECT_EQ(::getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length), 0);
    return ntohs(address.sin_port);
}

} // namespace corvella::test
