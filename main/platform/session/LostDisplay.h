// When the display server goes, Qt ends the process from within the event loop, with status 1, and
// static objects would be destroyed under the threads that use them. Main thread only.
#pragma once

namespace corvella {

// While it lives, a process that is ended so ends at once, with EX_UNAVAILABLE, since it has not
// failed itself: what it holds, grabs and inhibitions, is released with its connections, and files
// are whole at any time.
class LostDisplay
{
public:
    LostDisplay();
    ~LostDisplay();
    LostDisplay(const LostDisplay &) = delete;
    LostDisplay &operator=(const LostDisplay &) = delete;
};

} // namespace corvella
