// Runs the event loop until something has happened.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <functional>

namespace corvella::test {

// True as soon as the condition holds; false when it does not within a generous time, which only a
// broken program needs.
inline bool happens(const std::function<bool()> &condition)
{
    const QDeadlineTimer deadline(20'000);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

} // namespace corvella::test
