#include "support/Waiting.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace corvella::test {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks{10};

} // namespace

bool becomes(const std::function<bool()> &condition, std::chrono::milliseconds within)
{
    const QDeadlineTimer deadline(within);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QEventLoop loop;
        QTimer::singleShot(kBetweenLooks, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

} // namespace corvella::test
