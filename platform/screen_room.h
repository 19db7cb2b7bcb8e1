#pragma once

#include <optional>

namespace platform {

/// What the primary screen has for the content of a window that fills it: without what the system keeps for itself
/// there, and without a title bar.
struct ScreenRoom {
    int width = 0; ///< as height in pixels of the system's scale
    int height = 0;
    double scale = 1; ///< pixels of the screen to one of these: 1.5 where the user has chosen 150 %
};

/// Whatever the process has said of itself before. Nothing where the system does not say, or has no scale of its own.
std::optional<ScreenRoom> screenRoom();

} // namespace platform
