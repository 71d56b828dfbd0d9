#include "support/ChildProcess.h"

#include "platform/storage/FileDescriptor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace corvella::test {

namespace {

constexpr int kPatienceAfterTerminate = 5'000; // milliseconds

// All run between fork and exec.
void fill(int pipe)
{
    ::fcntl(pipe, F_SETFL, O_NONBLOCK);
    while (::write(pipe, "\n", 1) == 1) {}
    ::fcntl(pipe, F_SETFL, 0);
}

// The end at which it would be read stays open.
void openStoppedTerminal()
{
    const int reader = ::posix_openpt(O_RDWR | O_NOCTTY);
    ::unlockpt(reader);
    ::dup2(::ioctl(reader, TIOCGPTPEER, O_RDWR | O_NOCTTY), STDERR_FILENO);
    fill(STDERR_FILENO);
    char lines[64];
    if (::read(reader, lines, sizeof lines) < 0)
        ::close(reader);
}

void replaceStandardError(StandardError by)
{
    int ends[2];
    if (by == StandardError::closed) {
        ::close(STDERR_FILENO);
    } else if (by == StandardError::stoppedTerminal) {
        openStoppedTerminal();
    } else if (by != StandardError::captured && ::pipe(ends) == 0) {
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[1]);
        if (by == StandardError::full)
            fill(STDERR_FILENO);
        else
            ::close(ends[0]);
    }
}

} // namespace

QProcessEnvironment bareEnvironment()
{
    const QProcessEnvironment own = QProcessEnvironment::systemEnvironment();
    QProcessEnvironment bare;
    for (const char *name :
         {"PATH", "TMPDIR", "GLIBC_TUNABLES", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        const QString key = QString::fromLatin1(name);
        if (own.contains(key))
            bare.insert(key, own.value(key));
    }
    // Preloaded, DiskFaults comes before the sanitizer's own library.
    bare.insert(QStringLiteral("ASAN_OPTIONS"),
                own.value(QStringLiteral("ASAN_OPTIONS"))
                    + QStringLiteral(":verify_asan_link_order=0"));
    bare.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    bare.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
    return bare;
}

ChildProcess::ChildProcess(const Command &command)
{
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process,
                     [this] { m_output += m_process.readAllStandardOutput(); });
    QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process,
                     [this] { m_errors += m_process.readAllStandardError(); });
    m_process.setProcessEnvironment(command.environment);
    m_process.setWorkingDirectory(command.folder);
    // A test that is killed runs no destructor, and a server left behind would run for ever.
    m_process.setChildProcessModifier([standardError = command.standardError] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        replaceStandardError(standardError);
    });
    m_process.start(command.program, command.arguments);
    if (!m_process.waitForStarted())
        ADD_FAILURE() << qPrintable(command.program) << ": " << qPrintable(m_process.errorString());
}

ChildProcess::~ChildProcess()
{
    m_process.terminate();
    if (m_process.state() == QProcess::NotRunning
        || m_process.waitForFinished(kPatienceAfterTerminate))
        return;
    m_process.kill();
    m_process.waitForFinished();
}

bool ChildProcess::isRunning()
{
    return m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(0);
}

std::optional<int> ChildProcess::exitStatus(std::chrono::milliseconds within)
{
    if (!becomes([this] { return m_process.state() == QProcess::NotRunning; }, within))
        return std::nullopt;
    if (m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

bool ChildProcess::endsWithin(std::chrono::microseconds time) const
{
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, id(), 0)));
    pollfd end{.fd = process.get(), .events = POLLIN, .revents = 0};
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    const timespec limit{.tv_sec = seconds.count(),
                         .tv_nsec = std::chrono::nanoseconds(time - seconds).count()};
    return ::ppoll(&end, 1, &limit, nullptr) != 0;
}

void ChildProcess::signal(int number)
{
    if (isRunning())
        ::kill(static_cast<pid_t>(m_process.processId()), number);
}

QByteArray ChildProcess::output()
{
    return m_output;
}

QByteArray ChildProcess::errors()
{
    return m_errors;
}

QStringList ChildProcess::errorLines()
{
    QStringList lines = QString::fromUtf8(m_errors).split(u'\n');
    lines.removeLast(); // empty, or a line that is still being written
    return lines;
}

QByteArray run(const Command &command)
{
    ChildProcess process(command);
    EXPECT_EQ(process.exitStatus(), 0)
        << qPrintable(command.program) << ' ' << qPrintable(command.arguments.join(u' ')) << ": "
        << process.errors().toStdString();
    return process.output();
}

} // namespace corvella::test
