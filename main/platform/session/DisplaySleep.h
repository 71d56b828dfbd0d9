// Locks the session by its own locker and then switches the displays off. Main thread only.
#pragma once

#include <memory>

namespace corvella {

class DisplaySleep
{
public:
    DisplaySleep() = default;
    virtual ~DisplaySleep() = default;
    DisplaySleep(const DisplaySleep &) = delete;
    DisplaySleep &operator=(const DisplaySleep &) = delete;

    // Returns at once; the displays go off within about two seconds, and come back with input.
    // What does not work is logged and nothing else. Asked again meanwhile, it does nothing more.
    virtual void begin() = 0;

    // For this session; never null.
    [[nodiscard]] static std::unique_ptr<DisplaySleep> create();
};

} // namespace corvella
