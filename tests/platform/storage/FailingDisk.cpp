#include "platform/storage/FailingFlush.h"

#include <array>
#include <cerrno>
#include <climits>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

QByteArray corvella::test::failingFlush;

// The C library's own, replaced by linking this file.
extern "C" int fsync(int descriptor)
{
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::array<char, PATH_MAX> path{};
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    const QByteArray &failing = corvella::test::failingFlush;
    if (!failing.isEmpty() && QByteArray(path.data(), int(length)) == failing) {
        errno = EIO;
        return -1;
    }
    return int(::syscall(SYS_fsync, descriptor));
}
