// This machine's own network.
#pragma once

#include <QtGlobal>

#include <netinet/in.h>

namespace corvella::test {

// 127.0.0.1 at a port; port 0 lets the system choose.
[[nodiscard]] sockaddr_in loopback(quint16 port);

// A TCP port of this machine that nobody listens to now.
[[nodiscard]] quint16 freePort();

// The port that a bound socket has.
[[nodiscard]] quint16 portOf(int socket);

} // namespace corvella::test
