#include "platform/session/TerminationSignals.h"

#include "log.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sysexits.h>
#include <unistd.h>

namespace corvella {

namespace {

int pipeEnds[2] = {-1, -1};
constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};
volatile std::sig_atomic_t isAnyReceived = 0;
constexpr unsigned kPatienceSeconds = 20;

// Signal context in both: little may be done but to write, and to end at once.
void endAtOnce(int /*signal*/)
{
    logFromSignal(
        "corvella: told to end 20 s ago, and still waiting for something; ending at once\n");
    std::_Exit(EX_UNAVAILABLE);
}

void forward(int signal)
{
    const int error = errno; // of what is interrupted
    if (isAnyReceived == 0)
        ::alarm(kPatienceSeconds);
    isAnyReceived = 1;
    const char number = static_cast<char>(signal);
    while (::write(pipeEnds[1], &number, 1) < 0 && errno == EINTR) {}
    errno = error;
}

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
{
    if (::pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0) {
        log(QStringLiteral("signals: no pipe; a signal ends the program at once"));
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char number = 0;
        while (::read(pipeEnds[0], &number, 1) == 1) {}
        Q_EMIT received();
    });
    std::signal(SIGALRM, endAtOnce);
    for (const int signal : kSignals) {
        if (signal != SIGTERM && isIgnored(signal))
            continue; // as by nohup
        struct sigaction action = {};
        action.sa_handler = forward;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : kSignals) {
        if (!isIgnored(signal))
            std::signal(signal, SIG_DFL);
    }
}

bool TerminationSignals::wereReceived()
{
    return isAnyReceived != 0;
}

} // namespace corvella
