// Preloaded into a program: hands the system calls that a test has asked for over to the test,
// which lets each go on or makes it fail. Works below the C library, by a filter in the kernel, so
// that what libraries call among themselves is seen, too; and begins when the program is loaded,
// before its main(). What the program starts inherits it. By environment variables:
//   SYSTEM_CALL_TRAP        the socket of the test, which gets the filter's descriptor there
//   SYSTEM_CALL_TRAP_CALLS  the numbers of the calls, with commas between
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

// The connection to the test. Calls on it are let through: until the test has the filter's
// descriptor, it could not answer.
constexpr int kConnection = 900;

[[noreturn]] void fail(const char *what)
{
    std::perror(what);
    std::_Exit(EXIT_FAILURE);
}

void connectTo(const char *path)
{
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
        || fcntl(connection, F_DUPFD_CLOEXEC, kConnection) != kConnection)
        fail("system-call-trap: socket");
    close(connection);
}

std::vector<sock_filter> filterFor(const char *calls)
{
    constexpr auto kLoad = static_cast<unsigned short>(BPF_LD | BPF_W | BPF_ABS);
    constexpr auto kIfEqual = static_cast<unsigned short>(BPF_JMP | BPF_JEQ | BPF_K);
    constexpr auto kReturn = static_cast<unsigned short>(BPF_RET | BPF_K);
    constexpr auto kArguments = static_cast<unsigned>(offsetof(seccomp_data, args));
    constexpr auto kNumber = static_cast<unsigned>(offsetof(seccomp_data, nr));
    std::vector<sock_filter> filter{
        {kLoad, 0, 0, kArguments},
        {kIfEqual, 0, 1, kConnection},
        {kReturn, 0, 0, SECCOMP_RET_ALLOW},
        {kLoad, 0, 0, kNumber},
    };
    for (const char *at = calls; *at != '\0';) {
        char *end = nullptr;
        filter.push_back({kIfEqual, 0, 1, static_cast<unsigned>(std::strtoul(at, &end, 10))});
        filter.push_back({kReturn, 0, 0, SECCOMP_RET_USER_NOTIF});
        at = *end == ',' ? end + 1 : end;
    }
    filter.push_back({kReturn, 0, 0, SECCOMP_RET_ALLOW});
    return filter;
}

void handOver(int descriptor)
{
    char byte = 0;
    iovec content{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr *const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    if (sendmsg(kConnection, &message, 0) != 1)
        fail("system-call-trap: sendmsg");
    // The test says when it listens.
    if (recv(kConnection, &byte, 1, 0) != 1)
        fail("system-call-trap: recv");
    close(kConnection);
    close(descriptor);
}

__attribute__((constructor)) void setTrap()
{
    const char *path = std::getenv("SYSTEM_CALL_TRAP");
    const char *calls = std::getenv("SYSTEM_CALL_TRAP_CALLS");
    if (!path || !calls)
        return;
    connectTo(path);
    std::vector<sock_filter> filter = filterFor(calls);
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        fail("system-call-trap: prctl");
    const long listener =
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
    if (listener < 0)
        fail("system-call-trap: seccomp");
    handOver(static_cast<int>(listener));
    unsetenv("SYSTEM_CALL_TRAP"); // what the program starts is in it already
}

} // namespace
