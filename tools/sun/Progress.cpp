#include "Progress.h"

#include <cstdio>
#include <unistd.h>

namespace corvella::sun {

Progress::Progress(const QString &what, int steps)
    : m_what(what)
    , m_steps(steps)
    , m_onTerminal(isatty(STDERR_FILENO) != 0)
{
}

void Progress::stepDone()
{
    const int tenthsBefore = m_done * 10 / m_steps;
    ++m_done;
    const QByteArray what = m_what.toLocal8Bit();
    const char *end = m_done == m_steps ? "\n" : "";
    if (m_onTerminal)
        std::fprintf(stderr, "\r%s: %d of %d frames%s", what.constData(), m_done, m_steps, end);
    else if (m_done * 10 / m_steps > tenthsBefore)
        std::fprintf(stderr, "%s: %d %%\n", what.constData(), m_done * 100 / m_steps);
}

} // namespace corvella::sun
