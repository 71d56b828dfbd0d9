#include "platform/update/Relaunch.h"

#include "log.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <linux/close_range.h>
#include <unistd.h>
#include <vector>

namespace corvella {

void relaunch(const QString &program, const QStringList &arguments)
{
    std::vector<QByteArray> words{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        words.push_back(argument.toLocal8Bit());
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    // A library may have opened something without saying that it ends here.
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
    ::execv(pointers.front(), pointers.data());
    log(QStringLiteral("update: cannot relaunch %1: %2").arg(program, qt_error_string(errno)));
}

} // namespace corvella
