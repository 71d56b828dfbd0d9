#include "log.h"

#include <QByteArray>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

// The journal is told where a message was logged from only if asked; the call site here is of no
// interest.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

namespace corvella {

namespace {

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
    // A signal that comes meanwhile must not take the line with it.
    while (std::fputs(line.constData(), stderr) == EOF && errno == EINTR)
        std::clearerr(stderr);

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
