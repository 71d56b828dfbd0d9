// The input that comes to this program's own windows. Main thread only.
#pragma once

#include <QObject>

#include <chrono>

namespace corvella {

class InputHere final : public QObject
{
public:
    // Seconds since the last of it; since the beginning or restart() where there was none.
    [[nodiscard]] double secondsAgo();
    // Counts from now.
    void restart() { m_last = Clock::now(); }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point m_last = Clock::now();
    bool m_watches = false;
};

} // namespace corvella
