#include "platform/video/ClipMemory.h"

#include <malloc.h>

namespace corvella {

void keepTheHeapSmall()
{
    constexpr int kOwnMappingFrom = 256 * 1024; // bytes
    mallopt(M_MMAP_THRESHOLD, kOwnMappingFrom);
    mallopt(M_ARENA_MAX, 2);
}

} // namespace corvella
