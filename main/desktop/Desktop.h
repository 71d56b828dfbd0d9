// The desktop pictures of this process: each screen's picture is the latest still of a product that
// the screen is set to show, and the user's own come back when that is turned off. Main thread
// only. The work behind goes on elsewhere, one call after the other in the order in which they were
// made; nothing here waits for it, returns anything of it or fails: outcomes go to the log.
#pragma once

#include <chrono>

namespace corvella {

class DesktopUpdater;

namespace Desktop {

// Keeps what the user has on each screen, unless something is kept already.
void remember();

// Sets the picture of every screen that is not Off, one step further in its products, where desktop
// pictures are wanted at all. Remembers first.
void apply();

// The displays may have changed: where others are there than at the last apply(), shows its
// pictures anew, no step further.
void followScreens();

// Puts back what was remembered and forgets it.
void restore();

// The program ends: no pictures are set any more. Waits for what is under way and for what is still
// to be put back, no longer than this; whoever lets the updater go waits on.
void finish(std::chrono::milliseconds within);

// Who does all this, until it is replaced; it must live as long. Without one, nothing is done.
void setUpdater(DesktopUpdater *updater);

} // namespace Desktop

} // namespace corvella
