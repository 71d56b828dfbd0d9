// Another program, started by a test and ended with the object, by its process id. It also ends
// when the test itself is killed. Main thread only.
#pragma once

#include "support/QtPrinting.h"
#include "support/Waiting.h"

#include <QProcess>
#include <QStringList>

#include <optional>

namespace corvella::test {

// What a program finds as its standard error.
enum class StandardError {
    captured,
    closed,
    withoutReader,   // a pipe that nobody reads any more
    full,            // a pipe that is open, and never read
    stoppedTerminal, // that takes a few lines more, and is never read
};

struct Command
{
    QString program; // a path, or a name to look up in PATH
    QStringList arguments;
    QProcessEnvironment environment; // all of it: nothing is inherited
    QString folder;                  // to start in; the test's own when empty
    StandardError standardError = StandardError::captured;
};

// What this process was started with that a program needs anywhere: where programs are, and what a
// sanitizer was told. No home, no display, no session.
[[nodiscard]] QProcessEnvironment bareEnvironment();

class ChildProcess
{
public:
    // Starts the command; fails the test when it cannot be started.
    explicit ChildProcess(const Command &command);
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    [[nodiscard]] bool isRunning();
    [[nodiscard]] qint64 id() const { return m_process.processId(); }
    // Waits for the end: the exit status, or none when it runs on for that long or a signal ended
    // it.
    [[nodiscard]] std::optional<int> exitStatus(std::chrono::milliseconds within = kGenerous);
    // Leaves it alone for that long, to the microsecond; true at once when it ends before. For a
    // kill at any moment of its life: exitStatus() looks every millisecond or so.
    [[nodiscard]] bool endsWithin(std::chrono::microseconds time) const;
    // Sends a signal, if it still runs.
    void signal(int number);

    // What it wrote so far.
    [[nodiscard]] QByteArray output();
    [[nodiscard]] QByteArray errors();
    // The whole lines of standard error so far.
    [[nodiscard]] QStringList errorLines();

private:
    QByteArray m_output;
    QByteArray m_errors;
    QProcess m_process; // the last, because it writes to the others
};

// Runs a command to its end and gives what it wrote on standard output; fails the test when it does
// not end well.
QByteArray run(const Command &command);

} // namespace corvella::test
