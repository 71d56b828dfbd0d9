#include "support/CapturedLog.h"

#include <cstdio>
#include <unistd.h>

namespace corvella::test {

CapturedLog::CapturedLog()
{
    m_file.open();
    std::fflush(stderr);
    m_savedStandardError = ::dup(STDERR_FILENO);
    ::dup2(m_file.handle(), STDERR_FILENO);
}

CapturedLog::~CapturedLog()
{
    std::fflush(stderr);
    ::dup2(m_savedStandardError, STDERR_FILENO);
    ::close(m_savedStandardError);
}

QStringList CapturedLog::messages()
{
    std::fflush(stderr);
    QFile reader(m_file.fileName());
    if (!reader.open(QIODevice::ReadOnly))
        return {};
    const QString prefix = QStringLiteral("corvella: ");
    QStringList messages;
    for (const QString &line : QString::fromUtf8(reader.readAll()).split(u'\n')) {
        if (line.startsWith(prefix))
            messages << line.mid(prefix.size());
    }
    return messages;
}

} // namespace corvella::test
