#include "support/SystemCallFaults.h"

#include "support/ProgramUnderTest.h"
#include "support/Repetitions.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <linux/seccomp.h>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

namespace corvella::test {

namespace {

using About = SystemCallFault::About;

// What the program really calls, by strace, and can fail where nobody has made a mistake. Left out
// are memory, without which Qt ends the program (a poll of so few needs none), and what only gives
// something back.
constexpr SystemCallFault kFaults[] = {
    {"openat EMFILE", SYS_openat, EMFILE},
    {"openat EACCES", SYS_openat, EACCES},
    {"read EIO", SYS_read, EIO, About::files},
    {"read EINTR", SYS_read, EINTR},
    {"pread64 EIO", SYS_pread64, EIO},
    {"pwrite64 ENOSPC", SYS_pwrite64, ENOSPC},
    {"write ENOSPC", SYS_write, ENOSPC, About::files},
    {"write EINTR", SYS_write, EINTR},
    {"writev ENOSPC", SYS_writev, ENOSPC, About::files},
    {"fsync EIO", SYS_fsync, EIO},
    {"sync_file_range EIO", SYS_sync_file_range, EIO},
    {"ftruncate EIO", SYS_ftruncate, EIO},
    {"flock ENOLCK", SYS_flock, ENOLCK},
    {"flock EINTR", SYS_flock, EINTR},
    {"newfstatat EIO", SYS_newfstatat, EIO},
    {"statx EIO", SYS_statx, EIO},
    {"getdents64 EIO", SYS_getdents64, EIO},
    {"lseek EIO", SYS_lseek, EIO},
    {"fchown EPERM", SYS_fchown, EPERM},
    {"fchmod EPERM", SYS_fchmod, EPERM},
    {"ioctl EIO", SYS_ioctl, EIO},
    {"fcntl EMFILE", SYS_fcntl, EMFILE, About::duplicates},
    {"unlinkat EIO", SYS_unlinkat, EIO},
#ifdef SYS_rename // the older calls are not on every machine
    {"rename EIO", SYS_rename, EIO},
    {"mkdir ENOSPC", SYS_mkdir, ENOSPC},
    {"rmdir EIO", SYS_rmdir, EIO},
    {"unlink EIO", SYS_unlink, EIO},
    {"symlink ENOSPC", SYS_symlink, ENOSPC},
    {"readlink EIO", SYS_readlink, EIO},
    {"access EACCES", SYS_access, EACCES},
    {"dup2 EINTR", SYS_dup2, EINTR},
    {"poll EINTR", SYS_poll, EINTR},
    {"epoll_wait EINTR", SYS_epoll_wait, EINTR},
    {"vfork EAGAIN", SYS_vfork, EAGAIN},
#endif
    {"linkat EIO", SYS_linkat, EIO},
    {"renameat2 EIO", SYS_renameat2, EIO},
    {"mkdirat ENOSPC", SYS_mkdirat, ENOSPC},
    {"mmap ENOMEM", SYS_mmap, ENOMEM, About::filesAndStacks},
    {"shmget ENOSPC", SYS_shmget, ENOSPC},
    {"shmat ENOMEM", SYS_shmat, ENOMEM},
    {"memfd_create EMFILE", SYS_memfd_create, EMFILE},
    {"socket EMFILE", SYS_socket, EMFILE},
    {"socketpair EMFILE", SYS_socketpair, EMFILE},
    {"connect ECONNREFUSED", SYS_connect, ECONNREFUSED},
    {"bind EADDRINUSE", SYS_bind, EADDRINUSE},
    {"listen EADDRINUSE", SYS_listen, EADDRINUSE},
    {"accept4 EMFILE", SYS_accept4, EMFILE},
    {"getsockname ENOBUFS", SYS_getsockname, ENOBUFS},
    {"sendto ECONNRESET", SYS_sendto, ECONNRESET},
    {"sendmsg ENOBUFS", SYS_sendmsg, ENOBUFS},
    {"recvfrom ECONNRESET", SYS_recvfrom, ECONNRESET},
    {"recvmsg ECONNRESET", SYS_recvmsg, ECONNRESET},
    {"getsockopt ENOBUFS", SYS_getsockopt, ENOBUFS},
    {"setsockopt ENOMEM", SYS_setsockopt, ENOMEM},
    {"ppoll EINTR", SYS_ppoll, EINTR},
    {"epoll_create1 EMFILE", SYS_epoll_create1, EMFILE},
    {"epoll_ctl ENOMEM", SYS_epoll_ctl, ENOMEM},
    {"eventfd2 EMFILE", SYS_eventfd2, EMFILE},
    {"pipe2 EMFILE", SYS_pipe2, EMFILE},
    {"pidfd_open EMFILE", SYS_pidfd_open, EMFILE},
    {"prctl EINVAL", SYS_prctl, EINVAL},
    {"prlimit64 EPERM", SYS_prlimit64, EPERM},
    {"confining seccomp EINVAL", SYS_seccomp, EINVAL, About::confinement},
    {"confining prctl EINVAL", SYS_prctl, EINVAL, About::confinement},
    {"confining prlimit64 EPERM", SYS_prlimit64, EPERM, About::confinement},
    {"clone EAGAIN", SYS_clone, EAGAIN},
    {"clone3 EAGAIN", SYS_clone3, EAGAIN},
    {"execve EACCES", SYS_execve, EACCES},
    {"wait4 EINTR", SYS_wait4, EINTR},
    {"waitid EINTR", SYS_waitid, EINTR},
    {"inotify_init1 EMFILE", SYS_inotify_init1, EMFILE},
    {"inotify_add_watch ENOSPC", SYS_inotify_add_watch, ENOSPC},
    {"timerfd_create EMFILE", SYS_timerfd_create, EMFILE},
};

// Whether an open file has a path, unlike a pipe or a counter.
bool isFile(unsigned process, int descriptor)
{
    const std::string link =
        "/proc/" + std::to_string(process) + "/fd/" + std::to_string(descriptor);
    char first = 0;
    return ::readlink(link.c_str(), &first, 1) == 1 && first == '/';
}

bool isAbout(About about, const seccomp_notif &request)
{
    const auto argument = [&](int number) { return static_cast<int>(request.data.args[number]); };
    switch (about) {
    case About::files:
        return isFile(request.pid, argument(0));
    case About::filesAndStacks: // of mmap
        return argument(4) >= 0 || (argument(3) & MAP_STACK) != 0;
    case About::duplicates: // of fcntl
        return argument(1) == F_DUPFD || argument(1) == F_DUPFD_CLOEXEC;
    case About::confinement:
        switch (request.data.nr) {
        case SYS_seccomp: // which is also asked what it knows
            return argument(0) == SECCOMP_SET_MODE_FILTER && request.data.args[2] != 0;
        case SYS_prctl:
            return argument(0) == PR_SET_NO_NEW_PRIVS;
        case SYS_prlimit64: // which also only reads
            return argument(1) == RLIMIT_AS && request.data.args[2] != 0;
        }
        return false;
    case About::anything:
        break;
    }
    return true;
}

// The process that a thread belongs to.
pid_t processOf(unsigned thread)
{
    std::ifstream status("/proc/" + std::to_string(thread) + "/status");
    for (std::string word; status >> word;) {
        pid_t process = 0;
        if (word == "Tgid:" && status >> process)
            return process;
    }
    return -1;
}

// A connection that was reset stays so, for the threads that wait for more of it, too.
void breakConnection(unsigned thread, int descriptor)
{
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, processOf(thread), 0)));
    const FileDescriptor connection(
        static_cast<int>(::syscall(SYS_pidfd_getfd, process.get(), descriptor, 0)));
    if (::shutdown(connection.get(), SHUT_RDWR) != 0 && errno != ENOTCONN)
        ADD_FAILURE() << "a connection is not broken: " << std::strerror(errno);
}

int receiveDescriptor(int connection)
{
    char byte = 0;
    iovec content{&byte, 1};
    int descriptor = -1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (::recvmsg(connection, &message, MSG_CMSG_CLOEXEC) != 1)
        return -1;
    if (const cmsghdr *const header = CMSG_FIRSTHDR(&message))
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
}

} // namespace

std::string FailingCall::text() const
{
    return std::string(fault.name) + " at call " + std::to_string(at);
}

SystemCallFaults::SystemCallFaults()
    : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    , m_stop(::eventfd(0, EFD_CLOEXEC))
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(m_folder.filePath(QStringLiteral("socket")));
    EXPECT_LT(static_cast<size_t>(path.size()), sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    EXPECT_EQ(::bind(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address),
              0);
    EXPECT_EQ(::listen(m_socket.get(), 1), 0);
    m_supervisor = std::thread(&SystemCallFaults::supervise, this);
}

SystemCallFaults::~SystemCallFaults()
{
    const uint64_t one = 1;
    (void)!::write(m_stop.get(), &one, sizeof one);
    m_supervisor.join();
}

void SystemCallFaults::count(ProgramUnderTest &program)
{
    QStringList calls;
    for (const SystemCallFault &fault : kFaults)
        calls << QString::number(fault.call);
    calls.removeDuplicates();
    const std::lock_guard lock(m_mutex);
    m_counts.clear();
    m_failing.reset();
    watch(program, calls.join(u','));
}

void SystemCallFaults::fail(ProgramUnderTest &program, const FailingCall &call)
{
    const std::lock_guard lock(m_mutex);
    m_counts.clear();
    m_failing = call;
    m_hasFailed = false;
    watch(program, QString::number(call.fault.call));
}

void SystemCallFaults::watch(ProgramUnderTest &program, const QString &calls)
{
    program.setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral(CORVELLA_SYSTEM_CALL_TRAP));
    program.setVariable(QStringLiteral("SYSTEM_CALL_TRAP"),
                        m_folder.filePath(QStringLiteral("socket")));
    program.setVariable(QStringLiteral("SYSTEM_CALL_TRAP_CALLS"), calls);
}

void SystemCallFaults::leave(ProgramUnderTest &program)
{
    for (const char *name : {"LD_PRELOAD", "SYSTEM_CALL_TRAP", "SYSTEM_CALL_TRAP_CALLS"})
        program.setVariable(QString::fromLatin1(name), {});
}

bool SystemCallFaults::hasFailed() const
{
    const std::lock_guard lock(m_mutex);
    return m_hasFailed;
}

QList<FailingCall> SystemCallFaults::counted() const
{
    const std::lock_guard lock(m_mutex);
    QList<FailingCall> all;
    for (const SystemCallFault &fault : kFaults) {
        const auto count = m_counts.find(fault.name);
        for (int at = 1; count != m_counts.end() && at <= count->second; ++at)
            all << FailingCall{fault, at};
    }
    return all;
}

void SystemCallFaults::supervise()
{
    for (;;) {
        std::vector<pollfd> sources{{m_stop.get(), POLLIN, 0}, {m_socket.get(), POLLIN, 0}};
        for (const FileDescriptor &listener : m_listeners)
            sources.push_back({listener.get(), POLLIN, 0});
        ::poll(sources.data(), sources.size(), -1);
        if (sources[0].revents != 0)
            return;
        for (size_t i = 2; i < sources.size(); ++i) {
            if (sources[i].revents & POLLIN)
                answer(sources[i].fd);
        }
        // Nobody is left whose calls it could tell of.
        for (size_t i = sources.size(); i-- > 2;) {
            if (sources[i].revents & (POLLHUP | POLLERR))
                m_listeners.erase(m_listeners.begin() + static_cast<std::ptrdiff_t>(i - 2));
        }
        if (sources[1].revents != 0)
            welcome();
    }
}

void SystemCallFaults::welcome()
{
    const FileDescriptor connection(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    FileDescriptor listener(receiveDescriptor(connection.get()));
    if (!listener.isOpen())
        return;
    m_listeners.push_back(std::move(listener));
    (void)!::send(connection.get(), "", 1, MSG_NOSIGNAL);
}

void SystemCallFaults::answer(int listener)
{
    seccomp_notif request{};
    if (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &request) != 0)
        return; // the caller was killed meanwhile
    seccomp_notif_resp response{};
    response.id = request.id;
    response.error = -judge(request);
    if (response.error == 0)
        response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    ::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response);
}

// The error of this call; 0 lets it go on.
int SystemCallFaults::judge(const seccomp_notif &request)
{
    const std::lock_guard lock(m_mutex);
    int error = 0;
    for (const SystemCallFault &fault : kFaults) {
        if (fault.call != request.data.nr || !isAbout(fault.about, request))
            continue;
        const int at = ++m_counts[fault.name];
        if (m_failing && m_failing->fault.name == fault.name && m_failing->at == at) {
            m_hasFailed = true;
            error = fault.error;
            if (error == ECONNRESET)
                breakConnection(request.pid, static_cast<int>(request.data.args[0]));
        }
    }
    return error;
}

void failEachCall(ProgramUnderTest &program, const FaultChoice &choice,
                  const std::function<void()> &attempt,
                  const std::function<std::string(const std::string &when)> &judge)
{
    SystemCallFaults faults;
    faults.count(program);
    attempt();
    SystemCallFaults::leave(program);
    (void)judge(kUndisturbed);
    std::map<std::string, int> outcomes;
    int injected = 0;
    QList<FailingCall> all = faults.counted();
    all.removeIf([&choice](const FailingCall &call) {
        return !std::string_view(call.fault.name).starts_with(choice.name);
    });
    const qsizetype chosen = std::min<qsizetype>(choice.most, all.size());
    // Several processes can go through all of them: each takes every STEP-th, from another one on.
    const int step = repetitions("CORVELLA_FAULTS_STEP", 1);
    for (qsizetype i = repetitions("CORVELLA_FAULTS_FROM", 0); i < chosen; i += step) {
        const FailingCall &call = all[all.size() * i / chosen]; // from the whole length
        const testing::ScopedTrace trace(__FILE__, __LINE__, call.text());
        faults.fail(program, call);
        attempt();
        SystemCallFaults::leave(program);
        const bool hasFailed = faults.hasFailed();
        const std::string outcome = judge(hasFailed ? call.text() : kUndisturbed);
        injected += hasFailed;
        ++outcomes[hasFailed ? outcome : "not reached this time"];
    }
    EXPECT_GT(injected, 0);
    std::cout << injected << " faults of " << all.size() << " possible ones";
    for (const auto &[outcome, times] : outcomes)
        std::cout << "; " << outcome << ": " << times;
    std::cout << std::endl;
}

bool saysMoreThan(const QStringList &usual, const QStringList &lines)
{
    return std::any_of(lines.begin(), lines.end(),
                       [&usual](const QString &line) { return !usual.contains(line); });
}

} // namespace corvella::test
