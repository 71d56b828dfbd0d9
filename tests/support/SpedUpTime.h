// Time that goes faster for the programs that are started in it: their clocks, timers and time
// limits. Ends with the object; whatever was started in it should be gone by then.
#pragma once

#include <QDateTime>
#include <QTemporaryDir>

#include <chrono>

namespace corvella::test {

class ProgramUnderTest;
struct SpedUpClockPage;

class SpedUpTime
{
public:
    // A second of the test's own is `speed` seconds there.
    explicit SpedUpTime(int speed);
    ~SpedUpTime();
    SpedUpTime(const SpedUpTime &) = delete;
    SpedUpTime &operator=(const SpedUpTime &) = delete;

    // The program lives there from its next start on.
    void take(ProgramUnderTest &program) const;
    // All at once so much more time has gone by. Whoever sleeps there sleeps on; what was due is
    // done when he wakes up.
    void skip(std::chrono::nanoseconds time);
    // Their clock is wrong by this much from now on, as after a battery that ran out: what time of
    // what day it is, that is; no more or less time goes by.
    void setClockOff(std::chrono::nanoseconds by);
    // What their clock shows now where it is right.
    [[nodiscard]] QDateTime now() const;
    // How many times the programs waited for something to happen, so far.
    [[nodiscard]] qint64 waits() const;

private:
    [[nodiscard]] QString file() const;

    QTemporaryDir m_folder;
    SpedUpClockPage *m_page = nullptr;
};

} // namespace corvella::test
