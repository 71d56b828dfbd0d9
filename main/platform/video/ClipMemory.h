// For programs in which clips come and go for months.
#pragma once

namespace corvella {

// Has the buffers of pictures given back to the system when they are freed, instead of wearing
// holes into the heap. Once, before there are other threads.
void keepTheHeapSmall();

} // namespace corvella
