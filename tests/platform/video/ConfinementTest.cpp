// What is left to who reads clips with a decoding device. What is left without one is tried by
// HostileClip.
#include "platform/video/ffmpeg/Confinement.h"

#include "platform/storage/OrdinaryUser.h"
#include "platform/video/ClipProtocol.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>

namespace corvella {
namespace {

#ifndef CORVELLA_UNCONFINED

// What is tried in a process of its own, which is confined and ends with 0 where all is as it is to
// be; it prints what is not.
class Confinement : public testing::Test
{
protected:
    Confinement()
    {
        ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, m_ends.data());
        QFile file(m_file);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("the user's");
    }
    ~Confinement() override
    {
        for (const int end : m_ends)
            ::close(end);
    }

    // The status of a process that does this.
    static int statusOf(const std::function<bool()> &work)
    {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(work() ? EXIT_SUCCESS : EXIT_FAILURE);
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    }

    static bool isConfined(const QStringList &devices = {})
    {
        const std::optional<QString> failure = confine(ConfinedTo::device, devices);
        if (failure)
            std::fprintf(stderr, "%s\n", qUtf8Printable(*failure));
        return !failure;
    }

    // Whether a system call was refused; says so where it was not.
    static bool refuses(const char *what, int64_t result)
    {
        const bool isRefused = result < 0 && (errno == EPERM || errno == EACCES);
        if (!isRefused)
            std::fprintf(stderr, "%s: not refused\n", what);
        return isRefused;
    }
    static bool allows(const char *what, int64_t result)
    {
        if (result < 0)
            std::fprintf(stderr, "%s: %s\n", what, std::strerror(errno));
        return result >= 0;
    }

    QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath(QStringLiteral("file"));
    const QByteArray m_path = QFile::encodeName(m_file);
    std::array<int, 2> m_ends{};
};

TEST_F(Confinement, WithADeviceReachesNoSocketButItsOwn)
{
    const int before = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un somebody{};
    somebody.sun_family = AF_UNIX;
    const auto *address = reinterpret_cast<const sockaddr *>(&somebody);
    EXPECT_EQ(statusOf([&] {
                  std::array<int, 2> ends{};
                  return isConfined()
                      && refuses("connect", ::connect(before, address, sizeof somebody))
                      && refuses("bind", ::bind(before, address, sizeof somebody))
                      && refuses("listen", ::listen(before, 1))
                      && refuses("accept", ::accept(before, nullptr, nullptr))
                      && refuses("sendto", ::sendto(before, "", 1, 0, address, sizeof somebody))
                      && refuses("socket", ::socket(AF_UNIX, SOCK_STREAM, 0))
                      && refuses("network", ::socket(AF_INET, SOCK_STREAM, 0))
                      && refuses("pair", ::socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()));
              }),
              0);
    ::close(before);
}

TEST_F(Confinement, WithADeviceReachesNoOtherProcess)
{
    const pid_t other = ::getpid();
    EXPECT_EQ(statusOf([&] {
                  char byte = 0;
                  iovec part{&byte, 1};
                  siginfo_t about{};
                  about.si_code = SI_QUEUE;
                  rlimit limit{};
                  return isConfined() && refuses("kill", ::kill(other, 0))
                      && refuses("tgkill", ::syscall(SYS_tgkill, other, other, 0))
                      && refuses("tkill", ::syscall(SYS_tkill, other, 0))
                      && refuses("sigqueue", ::syscall(SYS_rt_sigqueueinfo, other, 0, &about))
                      && refuses("pidfd", ::syscall(SYS_pidfd_send_signal, 0, 0, nullptr, 0))
                      && refuses("owner", ::fcntl(m_ends[0], F_SETOWN, other))
                      && refuses("limit", ::prlimit(other, RLIMIT_CORE, nullptr, &limit))
                      && refuses("keys", ::ioctl(STDERR_FILENO, TIOCSTI, "x"))
                      && refuses("ptrace", ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr))
                      && refuses("memory", ::process_vm_readv(other, &part, 1, &part, 1, 0))
                      && refuses("program", ::execl("/bin/true", "true", nullptr));
              }),
              0);
}

TEST_F(Confinement, WithADeviceReachesNoFileOfTheUser)
{
    EXPECT_EQ(statusOf([&] {
                  return isConfined() && refuses("reading", ::open(m_path.constData(), O_RDONLY))
                      && refuses("writing", ::open(m_path.constData(), O_WRONLY))
                      && refuses("cutting", ::truncate(m_path.constData(), 0))
                      && refuses("opening to all", ::chmod(m_path.constData(), 0666))
                      && refuses("removing", ::unlink(m_path.constData()))
                      && refuses("shared memory",
                                 ::open("/dev/shm/confinement", O_RDWR | O_CREAT, 0600))
                      && refuses("a new terminal", ::open("/dev/ptmx", O_RDWR | O_NOCTTY))
                      && refuses("a system file", ::open("/etc/hostname", O_WRONLY));
              }),
              0);
}

TEST_F(Confinement, WithADeviceLeavesTheDeviceTheSystemsFilesAndTheSocket)
{
    ASSERT_EQ(statusOf([&] {
                  ClipReply reply;
                  reply.setText(QStringLiteral("heard"));
                  return isConfined({m_file, QStringLiteral("/nonexistent")})
                      && allows("the device", ::open(m_path.constData(), O_RDWR))
                      && allows("nothing", ::open("/dev/null", O_RDWR))
                      && allows("the list of devices", ::open("/dev", O_RDONLY | O_DIRECTORY))
                      && allows("a library", ::open("/usr/lib", O_RDONLY | O_DIRECTORY))
                      && sendMessage(m_ends[0], reply);
              }),
              0);
    const std::optional<ClipReply> heard = receiveReply(m_ends[1]);
    ASSERT_TRUE(heard);
    EXPECT_STREQ(heard->text.data(), "heard");
}

TEST_F(Confinement, WithADeviceLeavesItsOwnEnd)
{
    const int status = statusOf([] {
        const rlimit noCore{};
        ::setrlimit(RLIMIT_CORE, &noCore);
        if (isConfined())
            std::abort();
        return false;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
}

TEST_F(Confinement, ToMemoryKeepsALimitThatIsStricter)
{
    const test::OrdinaryUser user(m_folder.path());
    EXPECT_EQ(statusOf([] {
                  constexpr rlim_t kStrict = rlim_t{1} << 30;
                  const rlimit strict{kStrict, kStrict};
                  const std::optional<QString> failure = ::setrlimit(RLIMIT_AS, &strict) == 0
                      ? confine(ConfinedTo::memory, {})
                      : QStringLiteral("no limit");
                  return !failure
                      && ::mmap(nullptr, kStrict, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                      == MAP_FAILED;
              }),
              0);
}

// As drivers start them.
TEST_F(Confinement, HoldsThreadsThatWereThereBefore)
{
    EXPECT_EQ(statusOf([] {
                  std::atomic<bool> isTold = false;
                  bool isRefused = false;
                  std::thread before([&] {
                      isTold.wait(false);
                      isRefused = refuses("socket", ::socket(AF_UNIX, SOCK_STREAM, 0));
                  });
                  const bool isDone = isConfined();
                  isTold = true;
                  isTold.notify_one();
                  before.join();
                  return isDone && isRefused;
              }),
              0);
}

#endif

} // namespace
} // namespace corvella
