#include "support/Waiting.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace corvella::test {

bool becomes(const std::function<bool()> &condition, std::chrono::milliseconds within,
             std::chrono::milliseconds betweenLooks)
{
    const QDeadlineTimer deadline(within);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QEventLoop loop;
        QTimer::singleShot(betweenLooks, Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

} // namespace corvella::test
