#include "platform/video/ReaderProcess.h"

#include "platform/storage/Resources.h"
#include "platform/video/ClipProtocol.h"

#include <QFile>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace corvella {

namespace {

// Somebody waits for it who draws. It gives a reader a second to end.
constexpr int kPatienceWithEndsSeconds = 3;

QString systemText(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

QByteArray readerPath()
{
    return QFile::encodeName(modulePath(QStringLiteral(CORVELLA_CLIP_READER)));
}

// The program that reads clips, as it was when this was first asked for; not open where it was not
// there.
const FileDescriptor &heldReader()
{
    static const FileDescriptor file(::open(readerPath().constData(), O_PATH | O_CLOEXEC));
    return file;
}

// Two ends of a new socket; none where there are too many files open.
std::optional<std::pair<FileDescriptor, FileDescriptor>> socketPair()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return std::nullopt;
    return std::pair(FileDescriptor(ends[0]), FileDescriptor(ends[1]));
}

} // namespace

// The process that readers are copies of. Any thread.
class ReaderStarter
{
public:
    // The one that runs, or a new one; the system's error code where there can be none.
    static std::variant<std::shared_ptr<ReaderStarter>, int> running();
    ~ReaderStarter();
    ReaderStarter(const ReaderStarter &) = delete;
    ReaderStarter &operator=(const ReaderStarter &) = delete;

    // Hands a socket to a new reader; nullopt where the process does not answer.
    std::optional<ReaderAnswer> startReader(int socket, const std::stop_token &stop);
    // Ends a reader that may have ended already.
    std::optional<ReaderAnswer> endReader(pid_t process);

private:
    ReaderStarter(pid_t process, FileDescriptor socket)
        : m_process(process)
        , m_socket(std::move(socket))
    {
    }
    std::optional<ReaderAnswer> ask(const ReaderOrder &order, int file, int patienceSeconds,
                                    const std::stop_token &stop = {});
    // Waits for the others who ask; false where that takes too long.
    bool takeTurn(int patienceSeconds, const std::stop_token &stop);

    const pid_t m_process;
    const FileDescriptor m_socket;
    std::timed_mutex m_conversation;
    std::atomic<bool> m_isLost = false; // it has not answered
};

std::variant<std::shared_ptr<ReaderStarter>, int> ReaderStarter::running()
{
    static std::mutex mutex;
    static std::weak_ptr<ReaderStarter> last; // guarded by mutex
    const std::lock_guard lock(mutex);
    if (std::shared_ptr<ReaderStarter> starter = last.lock(); starter && !starter->m_isLost)
        return starter;
    auto sockets = socketPair();
    if (!sockets)
        return errno;
    auto &[ours, theirs] = *sockets;
    const QByteArray path = readerPath();
    const FileDescriptor &held = heldReader();
    const QByteArray file =
        held.isOpen() ? "/proc/self/fd/" + QByteArray::number(held.get()) : path;
    std::array<char *, 2> arguments{const_cast<char *>(path.constData()), nullptr};
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, theirs.get(), kClipSocket);
    pid_t process = 0;
    const int error =
        ::posix_spawn(&process, file.constData(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return error;
    std::shared_ptr<ReaderStarter> starter(new ReaderStarter(process, std::move(ours)));
    last = starter;
    return starter;
}

ReaderStarter::~ReaderStarter()
{
    // Readers that are left end with it.
    ::kill(m_process, SIGKILL);
    while (::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {}
}

std::optional<ReaderAnswer> ReaderStarter::startReader(int socket, const std::stop_token &stop)
{
    return ask({ReaderOrder::Kind::start, 0}, socket, kPatienceSeconds, stop);
}

std::optional<ReaderAnswer> ReaderStarter::endReader(pid_t process)
{
    return ask({ReaderOrder::Kind::end, process}, -1, kPatienceWithEndsSeconds);
}

bool ReaderStarter::takeTurn(int patienceSeconds, const std::stop_token &stop)
{
    for (int second = 0; second < patienceSeconds; ++second) {
        if (m_conversation.try_lock_for(std::chrono::seconds(1)))
            return true;
        if (stop.stop_requested())
            return false;
    }
    return false;
}

std::optional<ReaderAnswer> ReaderStarter::ask(const ReaderOrder &order, int file,
                                               int patienceSeconds, const std::stop_token &stop)
{
    if (!takeTurn(patienceSeconds, stop))
        return std::nullopt;
    const std::lock_guard lock(m_conversation, std::adopt_lock);
    std::optional<ReaderAnswer> answer;
    if (!m_isLost && sendMessage(m_socket.get(), order, file)
        && Patience(patienceSeconds).waitForMessage(m_socket.get(), stop))
        answer = receiveAnswer(m_socket.get());
    m_isLost = !answer;
    return answer;
}

void ReaderProcess::holdProgram()
{
    (void)heldReader();
}

std::shared_ptr<const void> ReaderProcess::loadAhead()
{
    const auto running = ReaderStarter::running();
    const auto *starter = std::get_if<std::shared_ptr<ReaderStarter>>(&running);
    return starter ? *starter : nullptr;
}

std::variant<ReaderProcess, QString> ReaderProcess::start(const std::stop_token &stop)
{
    const auto running = ReaderStarter::running();
    if (const int *error = std::get_if<int>(&running))
        return systemText(*error);
    const auto &starter = std::get<std::shared_ptr<ReaderStarter>>(running);
    auto sockets = socketPair();
    if (!sockets)
        return systemText(errno);
    auto &[ours, theirs] = *sockets;
    const std::optional<ReaderAnswer> answer = starter->startReader(theirs.get(), stop);
    if (!answer)
        return QStringLiteral("it does not answer");
    if (answer->error != 0)
        return systemText(answer->error);
    return ReaderProcess(starter, answer->process, std::move(ours));
}

ReaderProcess::~ReaderProcess()
{
    if (m_process != 0)
        (void)m_starter->endReader(m_process);
}

void ReaderProcess::hangUp() const
{
    ::shutdown(m_socket.get(), SHUT_RDWR);
}

QString ReaderProcess::ending()
{
    const auto answer = m_starter->endReader(std::exchange(m_process, 0));
    if (!answer)
        return QStringLiteral("with what had started it");
    if (WIFSIGNALED(answer->status))
        return QString::fromLocal8Bit(::strsignal(WTERMSIG(answer->status)));
    return QStringLiteral("status %1").arg(WEXITSTATUS(answer->status));
}

} // namespace corvella
