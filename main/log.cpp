#include "log.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// The journal is told where a message was logged from only if asked; the call site here is of no
// interest.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

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

// The library waits for a journal that takes no more.
bool journalTakesMore()
{
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return false;
    constexpr sockaddr_un kJournal{AF_UNIX, "/run/systemd/journal/socket"};
    const bool takes =
        ::connect(socket, reinterpret_cast<const sockaddr *>(&kJournal), sizeof kJournal) == 0
        && takesMore(socket);
    ::close(socket);
    return takes;
}

// An iovec over text that outlives the call; the journal only reads it.
iovec journalField(std::string_view text)
{
    return {const_cast<char *>(text.data()), text.size()};
}

} // namespace

void log(const QString &message)
{
    QByteArray text = message.toUtf8();
    // From outside, as in the id of a product; a message is one line.
    text.replace('\n', ' ').replace('\0', ' ');
    const QByteArray line = "corvella: " + text + '\n';
    writeToStandardError({line.constData(), static_cast<size_t>(line.size())});
    if (!journalTakesMore())
        return;

    // Sent as a binary field, not through a format, so that a per cent sign is only itself.
    const QByteArray field = "MESSAGE=" + text;
    const std::array fields = {
        journalField({field.constData(), static_cast<size_t>(field.size())}),
        journalField("PRIORITY=5"),
        journalField("SYSLOG_IDENTIFIER=corvella"),
        journalField("CORVELLA_SUBSYSTEM=space.tarrow.corvella"),
        journalField("CORVELLA_CATEGORY=app"),
    };
    sd_journal_sendv(fields.data(), static_cast<int>(fields.size()));
}

} // namespace corvella
