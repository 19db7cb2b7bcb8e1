#include "platform/memory.h"

#include <malloc.h>

namespace platform {

void keepLargeBlocksApart()
{
    // From glibc's manual: setting the threshold also ends its growing by itself. 64 KB are 16,000 rows of a listing;
    // the blocks of every key and slip stay below.
    constexpr int large = 64 * 1024;
    ::mallopt(M_MMAP_THRESHOLD, large);
}

} // namespace platform
