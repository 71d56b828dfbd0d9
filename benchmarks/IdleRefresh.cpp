// How long a refresh takes that finds nothing to do, in the cache and the settings that the
// environment names: the median and the longest of a hundred, in milliseconds.
#include "cache/Cache.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

int main(int argc, char **argv)
{
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const QCoreApplication application(argc, argv);
    std::array<double, 100> times;
    for (double &time : times) {
        const auto start = std::chrono::steady_clock::now();
        corvella::Cache::refresh();
        time = Milliseconds(std::chrono::steady_clock::now() - start).count();
    }
    std::sort(times.begin(), times.end());
    std::printf("median %.2f ms, longest %.2f ms\n", times[times.size() / 2], times.back());
    return 0;
}
