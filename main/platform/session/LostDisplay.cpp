#include "platform/session/LostDisplay.h"

#include <QMessageLogContext>
#include <QString>

#include <cstdlib>
#include <sysexits.h>

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

// Where a Wayland compositor goes these are Qt's last words: it gives nothing else a chance.
void endAfterLastWords(QtMsgType type, const QMessageLogContext &context, const QString &words)
{
    nextHandler(type, context, words);
    if (words.startsWith(u"The Wayland connection broke"))
        std::_Exit(EX_UNAVAILABLE);
}

} // namespace

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
