// How late timers may go off, so that the machine wakes once for several of them.
#pragma once

#include <chrono>

namespace corvella {

// For this thread, and for those that it starts from now on; zero stands for the system's own, some
// 50 µs.
void setTimerSlack(std::chrono::nanoseconds slack);

} // namespace corvella
