#include "platform/screen_room.h"

namespace platform {

std::optional<ScreenRoom> screenRoom() { return std::nullopt; }

} // namespace platform
