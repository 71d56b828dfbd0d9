// The input that comes to this program's own windows. Main thread only.
#pragma once

#include <QObject>

#include <chrono>

namespace corvella {

class InputHere final : public QObject
{
public:
    using Clock = std::chrono::steady_clock;

    // The last of it; the beginning or what restart() was told where there was none.
    [[nodiscard]] Clock::time_point last();
    // How many seconds ago that was.
    [[nodiscard]] double seconds()
    {
        return std::chrono::duration<double>(Clock::now() - last()).count();
    }
    // Counts from that moment.
    void restart(Clock::time_point last) { m_last = last; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Clock::time_point m_last = Clock::now();
    bool m_watches = false;
};

} // namespace corvella
