// When the display server goes, Qt ends the process from within the event loop, with status 1, and
// static objects would be destroyed under the threads that use them. Main thread only.
#pragma once

namespace corvella {

// While the display is looked for and Qt connects to it, a server that hangs would keep the program
// for ever, as would a thread of Qt's that cannot be made, and Qt 6.4 crashes where the connection
// to an X server breaks. As long as this lives the first ends the program after two minutes and,
// while a LostDisplay lives too, the second at once, both with EX_UNAVAILABLE; and all three have a
// line in the log. Before TerminationSignals, which use the same alarm.
class ConnectingToDisplay
{
public:
    ConnectingToDisplay();
    ~ConnectingToDisplay();
    ConnectingToDisplay(const ConnectingToDisplay &) = delete;
    ConnectingToDisplay &operator=(const ConnectingToDisplay &) = delete;
};

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
