#include "log.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace corvella {

namespace {

bool takesMore(int descriptor)
{
    pollfd reader{descriptor, POLLOUT, 0};
    int ready = 0;
    do {
        ready = ::poll(&reader, 1, 0);
    } while (ready < 0 && errno == EINTR);
    return ready == 1 && (reader.revents & POLLOUT) != 0;
}

// Takes nothing from the heap: signal handlers come here.
void writeToStandardError(std::string_view line)
{
    // A pipe that takes more takes that much at once.
    while (!line.empty() && takesMore(STDERR_FILENO)) {
        const ssize_t written =
            ::write(STDERR_FILENO, line.data(), std::min(line.size(), size_t{PIPE_BUF}));
        // A signal that comes meanwhile must not take the line with it.
        if (written < 0 && errno != EINTR)
            return;
        line.remove_prefix(size_t(std::max(written, ssize_t{0})));
    }
}

// By its native protocol (https://systemd.io/JOURNAL_NATIVE_PROTOCOL/), whose library would wait
// for a journal that takes no more.
void writeToJournal(const QByteArray &text)
{
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    const QByteArray entry = "MESSAGE=" + text
        + "\nPRIORITY=5\nSYSLOG_IDENTIFIER=corvella\n"
          "CORVELLA_SUBSYSTEM=space.tarrow.corvella\nCORVELLA_CATEGORY=app\n";
    constexpr sockaddr_un kJournal{AF_UNIX, "/run/systemd/journal/socket"};
    ::sendto(socket, entry.constData(), static_cast<size_t>(entry.size()), MSG_DONTWAIT,
             reinterpret_cast<const sockaddr *>(&kJournal), sizeof kJournal);
    ::close(socket);
}

// What we open next would take the number of a standard stream that we were started without, and
// our messages would go into it: into the connection to the display, for one.
void fillStandardStreams()
{
    int lowestFree = -1;
    do {
        lowestFree = ::open("/dev/null", O_RDWR);
    } while (lowestFree >= 0 && lowestFree <= STDERR_FILENO);
    if (lowestFree >= 0)
        ::close(lowestFree);
}

void neverWaitForStandardError()
{
    struct stat status = {};
    if (::fstat(STDERR_FILENO, &status) != 0
        || (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode)))
        return;
    // Opened anew, because whoever else writes there shares the one that we were given.
    const int own = ::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (own < 0)
        return;
    ::dup2(own, STDERR_FILENO);
    ::close(own);
}

bool isControl(QChar character)
{
    return character.category() == QChar::Other_Control;
}

} // namespace

void log(const QString &message)
{
    // From outside, as in the id of a product: a message is one line, and gives a terminal that
    // shows it no orders.
    QString printable = message;
    std::replace_if(printable.begin(), printable.end(), isControl, u' ');
    const QByteArray text = printable.toUtf8();
    const QByteArray line = "corvella: " + text + '\n';
    writeToStandardError({line.constData(), static_cast<size_t>(line.size())});
    writeToJournal(text);
}

void logFromSignal(std::string_view line)
{
    writeToStandardError(line);
}

void outliveFailedWrites()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    fillStandardStreams();
    neverWaitForStandardError();
}

} // namespace corvella
