#include "platform/registry.h"

namespace platform {

std::unique_ptr<Registry> userRegistry() { return nullptr; }

} // namespace platform
