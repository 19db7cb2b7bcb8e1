#include "platform/memory.h"

namespace platform {

// This system's heap gives large blocks back by itself.
void keepLargeBlocksApart() {}

} // namespace platform
