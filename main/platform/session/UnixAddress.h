// Addresses of sockets of the same machine. Any thread.
#pragma once

#include <QString>

#include <sys/socket.h>
#include <sys/un.h>

namespace corvella {

struct UnixAddress
{
    sockaddr_un name{};
    socklen_t size = sizeof(sa_family_t);

    [[nodiscard]] sockaddr *generic() { return reinterpret_cast<sockaddr *>(&name); }
};

// A path that is too long, or none, gives a nameless address, for which the system makes up a name.
[[nodiscard]] UnixAddress unixAddressOf(const QString &path);

// Of one that is no file, but a name that the system knows (unix(7)); nameless as above.
[[nodiscard]] UnixAddress abstractAddressOf(const QString &name);

} // namespace corvella
