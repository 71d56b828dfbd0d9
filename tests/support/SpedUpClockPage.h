// What a test and the programs whose clocks it speeds up share, in a file that both map.
#pragma once

#include <atomic>
#include <cstdint>

namespace corvella::test {

// In nanoseconds. A sped-up clock shows: its start + (the real clock - its start) * speed +
// skipped; the one that says what time of what day it is shows `set` more.
struct SpedUpClockPage
{
    std::int64_t speed;
    std::int64_t monotonicStart;
    std::int64_t realtimeStart;
    std::atomic<std::int64_t> skipped;
    std::atomic<std::int64_t> set;
    std::atomic<std::int64_t> waits; // how many times the programs' event loops fell asleep
};

} // namespace corvella::test
