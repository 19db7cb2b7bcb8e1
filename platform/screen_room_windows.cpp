#include "platform/screen_room.h"

#include <windows.h>

namespace platform {

namespace {

/// As long as it lives, the system tells this thread of screens what it tells programs of that kind.
class ToldAs {
public:
    explicit ToldAs(DPI_AWARENESS_CONTEXT kind) : before_(::SetThreadDpiAwarenessContext(kind)) {}
    ~ToldAs() { ::SetThreadDpiAwarenessContext(before_); }
    ToldAs(const ToldAs&) = delete;
    ToldAs& operator=(const ToldAs&) = delete;

private:
    DPI_AWARENESS_CONTEXT before_;
};

struct PrimaryScreen {
    RECT whole{};
    RECT work{}; ///< without the taskbar
};

std::optional<PrimaryScreen> primaryScreenFor(DPI_AWARENESS_CONTEXT kind)
{
    const ToldAs told(kind);
    MONITORINFO screen{};
    screen.cbSize = sizeof screen;
    if (!::GetMonitorInfoW(::MonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY), &screen)) return std::nullopt;
    return PrimaryScreen{screen.rcMonitor, screen.rcWork};
}

} // namespace

std::optional<ScreenRoom> screenRoom()
{
    const auto scaled = primaryScreenFor(DPI_AWARENESS_CONTEXT_UNAWARE);
    const auto real = primaryScreenFor(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE);
    if (!scaled || !real || scaled->whole.right <= scaled->whole.left) return std::nullopt;
    const int titleBar = ::GetSystemMetricsForDpi(SM_CYCAPTION, USER_DEFAULT_SCREEN_DPI);
    return ScreenRoom{
        .width = static_cast<int>(scaled->work.right - scaled->work.left),
        .height = static_cast<int>(scaled->work.bottom - scaled->work.top) - titleBar,
        .scale = static_cast<double>(real->whole.right - real->whole.left) / (scaled->whole.right - scaled->whole.left),
    };
}

} // namespace platform
