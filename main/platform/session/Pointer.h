// The pointer of this session. Main thread only.
#pragma once

namespace corvella {

// Hides it, wherever it is, or gives it back. Where the display server lets a program hide it over
// the program's own windows alone, it is hidden there. However the program ends, it is given back.
void setPointerHidden(bool hidden);

// Whether QCursor::pos() tells where it is, over other programs' windows, too.
[[nodiscard]] bool isPointerKnownEverywhere();

} // namespace corvella
