// What a test and the programs whose power it lets fail share, in a file that both map.
#pragma once

#include <atomic>

namespace corvella::test {

struct DiskFaultsPower
{
    // How many more calls change the disk until the power goes. Zero where it went so; below, it
    // does not go.
    std::atomic<long> callsLeft;
};

} // namespace corvella::test
