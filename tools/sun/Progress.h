#pragma once

#include <QString>

namespace corvella::sun {

// How far a long piece of work is, on stderr: one line that overwrites itself on a terminal, a line
// every tenth of the work elsewhere.
class Progress
{
public:
    Progress(const QString &what, int steps);

    void stepDone();

private:
    QString m_what;
    int m_steps;
    int m_done = 0;
    bool m_onTerminal;
};

} // namespace corvella::sun
