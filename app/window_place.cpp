#include "app/window_place.h"

namespace app {

WindowPlace keptOnScreen(WindowPlace window, double screenWidth, double screenHeight)
{
    constexpr double bottomStrip = 400; // about the height of a task bar
    if (window.left < 0) window.left = 0;
    if (window.left + window.width > screenWidth) window.left = screenWidth - window.width;
    // To the top, not up by what is missing: so a window that was dragged down is whole again at one touch.
    if (window.height + window.top + bottomStrip > screenHeight) window.top = 0;
    return window;
}

} // namespace app
