#pragma once

namespace app {

/// Where a window stands, in twips, frame included.
struct WindowPlace {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
    bool operator==(const WindowPlace&) const = default;
};

/// Keeps the window on a screen of that size: a left edge off the screen comes back, then a right edge; a bottom edge
/// within 400 twips of the screen's bottom sends the window to the top edge. A negative top edge stays.
WindowPlace keptOnScreen(WindowPlace window, double screenWidth, double screenHeight);

} // namespace app
