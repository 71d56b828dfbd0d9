#include "platform/storage/FailingDisk.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

QByteArray corvella::test::failingFlush;
QByteArray corvella::test::failingRename;
bool corvella::test::canExchange = true;

// The C library's own, replaced by linking this file.
extern "C" int rename(const char *from, const char *to) noexcept
{
    if (from == corvella::test::failingRename) {
        errno = EIO;
        return -1;
    }
    return int(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

extern "C" int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
                         unsigned flags) noexcept
{
    if (from == corvella::test::failingRename || !corvella::test::canExchange) {
        errno = corvella::test::canExchange ? EIO : EINVAL;
        return -1;
    }
    return int(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

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
