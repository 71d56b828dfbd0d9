// Waiting for what happens outside the main thread: a picture that is decoded or on a screen, a
// line in a log, the end of another program. Main thread only.
#pragma once

#include <chrono>
#include <functional>

namespace corvella::test {

// More time than anything but a broken program needs.
#ifdef __SANITIZE_THREAD__ // by which a program takes ten times as long
inline constexpr std::chrono::milliseconds kGenerous{200'000};
#else
inline constexpr std::chrono::milliseconds kGenerous{20'000};
#endif

inline constexpr std::chrono::milliseconds kBetweenLooks{10};

// Turns the event loop and looks every few milliseconds: true as soon as the condition holds, false
// when it does not hold within the time.
[[nodiscard]] bool becomes(const std::function<bool()> &condition,
                           std::chrono::milliseconds within = kGenerous,
                           std::chrono::milliseconds betweenLooks = kBetweenLooks);

// Counts from the moment at which it is made.
class Stopwatch
{
public:
    [[nodiscard]] std::chrono::nanoseconds elapsed() const
    {
        return std::chrono::steady_clock::now() - m_start;
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace corvella::test
