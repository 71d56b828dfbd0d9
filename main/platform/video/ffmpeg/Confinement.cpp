#include "platform/video/ffmpeg/Confinement.h"

#include "platform/storage/FileDescriptor.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/sockios.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace corvella {

namespace {

// Enough for pictures of 8K with all that refers to them; what a hostile stream asks for on top is
// refused, which the decoder says.
constexpr rlim_t kMostMemory = rlim_t{2} << 30;

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

template <typename... Comparisons>
bool add(const Filter &filter, uint32_t action, int call, Comparisons... comparisons)
{
    const std::array<scmp_arg_cmp, sizeof...(comparisons)> list{comparisons...};
    return seccomp_rule_add_array(filter.get(), action, call, list.size(), list.data()) == 0;
}

scmp_arg_cmp bits(unsigned argument, uint64_t mask, uint64_t value)
{
    return {argument, SCMP_CMP_MASKED_EQ, mask, value};
}

// All that decoding in software does. What is not here fails as if forbidden, which libraries bear
// better than their end.
bool allowMemoryOnly(const Filter &filter)
{
    constexpr std::array calls{SCMP_SYS(read),
                               SCMP_SYS(pread64),
                               SCMP_SYS(lseek),
                               SCMP_SYS(_llseek),
                               SCMP_SYS(close),
                               SCMP_SYS(recvmsg),
                               SCMP_SYS(sendmsg),
                               SCMP_SYS(brk),
                               SCMP_SYS(munmap),
                               SCMP_SYS(mremap),
                               SCMP_SYS(madvise),
                               SCMP_SYS(futex),
                               SCMP_SYS(futex_time64),
                               SCMP_SYS(set_robust_list),
                               SCMP_SYS(rseq),
                               SCMP_SYS(sched_yield),
                               SCMP_SYS(sched_getaffinity),
                               SCMP_SYS(gettid),
                               SCMP_SYS(getpid),
                               SCMP_SYS(clock_gettime),
                               SCMP_SYS(clock_gettime64),
                               SCMP_SYS(gettimeofday),
                               SCMP_SYS(getrandom),
                               SCMP_SYS(rt_sigreturn),
                               SCMP_SYS(sigreturn),
                               SCMP_SYS(rt_sigprocmask),
                               SCMP_SYS(restart_syscall),
                               SCMP_SYS(exit),
                               SCMP_SYS(exit_group)};
    bool isAdded = true;
    for (const int call : calls)
        isAdded = isAdded && add(filter, SCMP_ACT_ALLOW, call);
    // Memory, but none that a program could be written into.
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mmap2), SCMP_SYS(mprotect)})
        isAdded = isAdded && add(filter, SCMP_ACT_ALLOW, call, bits(2, PROT_EXEC, 0));
    // Threads, but no processes. What clone3 asks for lies in memory, where no filter sees it; the
    // C library goes back to clone where the system has no other.
    return isAdded
        && add(filter, SCMP_ACT_ALLOW, SCMP_SYS(clone), bits(0, CLONE_THREAD, CLONE_THREAD))
        && add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3))
        && add(filter, SCMP_ACT_ALLOW, SCMP_SYS(prctl), bits(0, ~uint64_t{0}, PR_SET_NAME));
}

// What a driver that is open already can do without.
bool forbidReachingOthers(const Filter &filter)
{
    // The last ones are newer than the library; their numbers are the same on every machine.
    constexpr int kFchmodat2 = 452;
    constexpr int kSetxattrat = 463;
    constexpr int kRemovexattrat = 466;
    constexpr std::array calls{
        // Other programs.
        SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(ptrace), SCMP_SYS(process_vm_readv),
        SCMP_SYS(process_vm_writev), SCMP_SYS(pidfd_getfd), SCMP_SYS(kill), SCMP_SYS(tkill),
        SCMP_SYS(rt_sigqueueinfo), SCMP_SYS(rt_tgsigqueueinfo), SCMP_SYS(pidfd_send_signal),
        SCMP_SYS(shmat), SCMP_SYS(mq_open), SCMP_SYS(keyctl),
        // Sockets, but for those that are open: those have their other ends.
        SCMP_SYS(socket), SCMP_SYS(socketpair), SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen),
        SCMP_SYS(accept), SCMP_SYS(accept4),
        // What would do such things unseen.
        SCMP_SYS(io_uring_setup), SCMP_SYS(bpf), SCMP_SYS(userfaultfd),
        // Changes to files that Landlock, as of Linux 6.1, does not see.
        SCMP_SYS(truncate), SCMP_SYS(truncate64), SCMP_SYS(chmod), SCMP_SYS(fchmodat), kFchmodat2,
        SCMP_SYS(chown), SCMP_SYS(lchown), SCMP_SYS(fchownat), SCMP_SYS(utime), SCMP_SYS(utimes),
        SCMP_SYS(futimesat), SCMP_SYS(utimensat), SCMP_SYS(utimensat_time64), SCMP_SYS(setxattr),
        SCMP_SYS(lsetxattr), kSetxattrat, SCMP_SYS(removexattr), SCMP_SYS(lremovexattr),
        kRemovexattrat};
    constexpr uint32_t forbidden = SCMP_ACT_ERRNO(EPERM);
    bool isAdded = true;
    for (const int call : calls)
        isAdded = isAdded && add(filter, forbidden, call);
    // A signal, but to itself, as abort() sends it; by way of a file's events; a limit that sends
    // one; and keys that are typed into the terminal which the program was started from.
    const auto self = static_cast<uint64_t>(::getpid());
    constexpr uint64_t kCommand = 0xffff'ffff; // the kernel looks at no more of it
    for (const uint64_t command : std::array<uint64_t, 2>{F_SETOWN, F_SETOWN_EX})
        isAdded = isAdded && add(filter, forbidden, SCMP_SYS(fcntl), bits(1, kCommand, command));
    for (const uint64_t command : std::array<uint64_t, 4>{FIOSETOWN, SIOCSPGRP, TIOCSTI, TIOCLINUX})
        isAdded = isAdded && add(filter, forbidden, SCMP_SYS(ioctl), bits(1, kCommand, command));
    return isAdded
        && add(filter, forbidden, SCMP_SYS(tgkill), scmp_arg_cmp{0, SCMP_CMP_NE, self, 0})
        && add(filter, forbidden, SCMP_SYS(prlimit64), scmp_arg_cmp{0, SCMP_CMP_NE, 0, 0})
        && add(filter, forbidden, SCMP_SYS(sendto), scmp_arg_cmp{4, SCMP_CMP_NE, 0, 0});
}

std::optional<QString> error(const char *what, int code)
{
    return QStringLiteral("clips are read without all safety: %1: %2")
        .arg(QString::fromLatin1(what), QString::fromLocal8Bit(std::strerror(code)));
}

std::optional<QString> filterCalls(ConfinedTo what)
{
    const bool isMemory = what == ConfinedTo::memory;
    const Filter filter(seccomp_init(isMemory ? SCMP_ACT_ERRNO(EPERM) : SCMP_ACT_ALLOW),
                        seccomp_release);
    // For the threads too that a driver has started.
    if (!filter || !(isMemory ? allowMemoryOnly(filter) : forbidReachingOthers(filter))
        || seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) != 0)
        return error("seccomp", ENOMEM);
    if (const int code = seccomp_load(filter.get()); code < 0)
        return error("seccomp", -code);
    return std::nullopt;
}

// The folder with all beneath it, or the file.
bool allowBeneath(int ruleset, const char *path, uint64_t access)
{
    const FileDescriptor place(::open(path, O_PATH | O_CLOEXEC));
    if (!place.isOpen())
        return true; // what is not there needs no leave
    landlock_path_beneath_attr rule{};
    rule.allowed_access = access;
    rule.parent_fd = place.get();
    return ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

// The system's folders may be read, devices that decode be used; nothing else is there. Threads
// that a driver has started already are not held by this. It does not come before the driver, since
// what one does at its start, from making device files to keeping a cache of its own, is not known
// here.
std::optional<QString> hideUsersFiles(const QStringList &devices)
{
    constexpr uint64_t listing = LANDLOCK_ACCESS_FS_READ_DIR;
    constexpr uint64_t reading = LANDLOCK_ACCESS_FS_READ_FILE | listing;
    constexpr uint64_t use = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE;
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs =
        (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1; // all of the first version
    const FileDescriptor ruleset(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    if (!ruleset.isOpen())
        return error("landlock", errno);
    bool isAllowed = allowBeneath(ruleset.get(), "/dev", listing);
    for (const char *device : {"/dev/null", "/dev/zero", "/dev/urandom", "/dev/random"})
        isAllowed = isAllowed && allowBeneath(ruleset.get(), device, use);
    for (const QString &device : devices)
        isAllowed =
            isAllowed && allowBeneath(ruleset.get(), QFile::encodeName(device).constData(), use);
    for (const char *folder : {"/usr", "/lib", "/lib64", "/etc", "/opt", "/proc", "/sys"})
        isAllowed = isAllowed && allowBeneath(ruleset.get(), folder, reading);
    if (!isAllowed || ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) != 0)
        return error("landlock", errno);
    return std::nullopt;
}

} // namespace

std::optional<QString> confine(ConfinedTo what, const QStringList &devices)
{
    std::optional<QString> failure;
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        failure = error("no_new_privs", errno);
    // Where one of these fails, those that can hold without it do.
    if (what == ConfinedTo::memory) {
        // A device's driver reserves addresses without end, so that this is for software only.
        rlimit most{RLIM_INFINITY, RLIM_INFINITY};
        ::getrlimit(RLIMIT_AS, &most); // a stricter one stays
        most = {std::min(most.rlim_cur, kMostMemory), std::min(most.rlim_max, kMostMemory)};
        if (::setrlimit(RLIMIT_AS, &most) != 0)
            failure = error("memory", errno);
    } else if (std::optional<QString> unhidden = hideUsersFiles(devices)) {
        failure = std::move(unhidden);
    }
    if (std::optional<QString> unfiltered = filterCalls(what))
        failure = std::move(unfiltered);
    return failure;
}

} // namespace corvella
