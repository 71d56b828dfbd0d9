#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace corvella::sun {

// Runs work(0) to work(count - 1) on some threads, in no order; returns when all is done. The work
// must not depend on the order and must not throw.
template <typename Work> void runParallel(int count, int threads, const Work &work)
{
    std::atomic<int> next = 0;
    const auto drain = [&] {
        for (int i = next++; i < count; i = next++)
            work(i);
    };
    std::vector<std::jthread> others;
    for (int i = 1; i < threads && i < count; ++i)
        others.emplace_back(drain);
    drain();
}

} // namespace corvella::sun
