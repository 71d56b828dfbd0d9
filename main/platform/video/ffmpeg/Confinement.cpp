#include "platform/video/ffmpeg/Confinement.h"

#include "platform/storage/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/landlock.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>

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

bool forbidNetworkAndPrograms(const Filter &filter)
{
    constexpr uint32_t forbidden = SCMP_ACT_ERRNO(EPERM);
    bool isAdded = true;
    for (const int call : {SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(ptrace),
                           SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev),
                           SCMP_SYS(io_uring_setup), SCMP_SYS(bpf), SCMP_SYS(userfaultfd)})
        isAdded = isAdded && add(filter, forbidden, call);
    // Drivers have sockets of the machine's own, at most.
    return isAdded
        && add(filter, forbidden, SCMP_SYS(socket), scmp_arg_cmp{0, SCMP_CMP_NE, AF_UNIX, 0});
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
    if (!filter || !(isMemory ? allowMemoryOnly(filter) : forbidNetworkAndPrograms(filter)))
        return error("seccomp", ENOMEM);
    if (const int code = seccomp_load(filter.get()); code < 0)
        return error("seccomp", -code);
    return std::nullopt;
}

bool allowBeneath(int ruleset, const char *folder, uint64_t access)
{
    const FileDescriptor place(::open(folder, O_PATH | O_CLOEXEC));
    if (!place.isOpen())
        return true; // what is not there needs no leave
    landlock_path_beneath_attr rule{};
    rule.allowed_access = access;
    rule.parent_fd = place.get();
    return ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

// The system's folders may be read, devices be used; nothing else is there.
std::optional<QString> hideUsersFiles()
{
    constexpr uint64_t reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs =
        (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1; // all of the first version
    const FileDescriptor ruleset(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    if (!ruleset.isOpen())
        return error("landlock", errno);
    bool isAllowed = allowBeneath(ruleset.get(), "/dev", reading | LANDLOCK_ACCESS_FS_WRITE_FILE);
    for (const char *folder : {"/usr", "/lib", "/lib64", "/etc", "/opt", "/proc", "/sys"})
        isAllowed = isAllowed && allowBeneath(ruleset.get(), folder, reading);
    if (!isAllowed || ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) != 0)
        return error("landlock", errno);
    return std::nullopt;
}

} // namespace

std::optional<QString> confine(ConfinedTo what)
{
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return error("no_new_privs", errno);
    std::optional<QString> failure;
    if (what == ConfinedTo::memory) {
        // A device's driver reserves addresses without end, so that this is for software only.
        const rlimit most{kMostMemory, kMostMemory};
        if (::setrlimit(RLIMIT_AS, &most) != 0)
            failure = error("memory", errno);
    } else {
        failure = hideUsersFiles();
    }
    if (const std::optional<QString> unfiltered = filterCalls(what))
        return unfiltered;
    return failure;
}

} // namespace corvella
