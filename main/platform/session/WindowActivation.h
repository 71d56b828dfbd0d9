// Bringing a window of ours to the front. Main thread only.
#pragma once

class QWindow;

namespace corvella {

// For a window that is shown, and that the user asked for in whatever way: by another start of the
// program, for one. On X11 a manager that keeps programs from taking the focus compares when each
// was last touched, knows of no touch of ours then, and would let the window only flash; so it is
// told that the wish is the user's.
void activateForUser(QWindow &window);

} // namespace corvella
