#include "platform/session/LostDisplay.h"

#include "log.h"

#include <QMessageLogContext>
#include <QString>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <sysexits.h>
#include <unistd.h>

namespace corvella {

namespace {

// The objects of the thread that ends the process go before the static ones.
struct EndAtOnce
{
    ~EndAtOnce()
    {
        if (isWanted)
            std::_Exit(EX_UNAVAILABLE);
    }
    bool isWanted = false;
};

thread_local EndAtOnce endAtOnce;
QtMessageHandler nextHandler = nullptr;

std::atomic<bool> isConnecting = false;

// Where a Wayland compositor goes these are Qt's last words: it gives nothing else a chance. And
// what a thread was to do that could not be made it waits for without end.
void endAfterLastWords(QtMsgType type, const QMessageLogContext &context, const QString &words)
{
    nextHandler(type, context, words);
    if (words.startsWith(u"The Wayland connection broke"))
        std::_Exit(EX_UNAVAILABLE);
    if (isConnecting && words.startsWith(u"QThread::start: Thread creation error")) {
        log(QStringLiteral("no thread for Qt to start with; ending"));
        std::_Exit(EX_UNAVAILABLE);
    }
}

// More than hung services of a desktop can cost Qt, each of which has 25 s to answer.
constexpr unsigned kPatienceSeconds = 120;

struct sigaction usualCrash = {};

// Signal context in both.
void explainCrash(int /*signal*/)
{
    logFromSignal(
        "corvella: display: crashed while connecting to it; the connection has broken, or "
        "its driver or Qt is faulty\n");
    // On return it crashes once more, as if nobody had listened.
    sigaction(SIGSEGV, &usualCrash, nullptr);
}

void stopWaiting(int /*signal*/)
{
    logFromSignal("corvella: display: no connection to it within two minutes; ending\n");
    std::_Exit(EX_UNAVAILABLE);
}

} // namespace

ConnectingToDisplay::ConnectingToDisplay()
{
    struct sigaction crash = {};
    crash.sa_handler = explainCrash;
    sigaction(SIGSEGV, &crash, &usualCrash);
    std::signal(SIGALRM, stopWaiting);
    ::alarm(kPatienceSeconds);
    isConnecting = true;
}

ConnectingToDisplay::~ConnectingToDisplay()
{
    isConnecting = false;
    ::alarm(0);
    std::signal(SIGALRM, SIG_DFL);
    sigaction(SIGSEGV, &usualCrash, nullptr);
}

LostDisplay::LostDisplay()
{
    endAtOnce.isWanted = true;
    nextHandler = qInstallMessageHandler(&endAfterLastWords);
}

LostDisplay::~LostDisplay()
{
    qInstallMessageHandler(nextHandler);
    endAtOnce.isWanted = false;
}

} // namespace corvella
