#include "platform/screen_room.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

TEST(ScreenRoom, isTheScreenInTheSystemsScaleWhateverTheProcessSaysOfItself)
{
    DEVMODEW mode{};
    mode.dmSize = sizeof mode;
    ASSERT_TRUE(::EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode));
    for (const auto told :
         {DPI_AWARENESS_CONTEXT_UNAWARE, DPI_AWARENESS_CONTEXT_SYSTEM_AWARE, DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE}) {
        const auto before = ::SetThreadDpiAwarenessContext(told);
        const auto room = platform::screenRoom();
        EXPECT_TRUE(::AreDpiAwarenessContextsEqual(::GetThreadDpiAwarenessContext(), told));
        ::SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_SYSTEM_AWARE);
        const double scale = ::GetDpiForSystem() / 96.0;
        ::SetThreadDpiAwarenessContext(before);
        ASSERT_TRUE(room);
        EXPECT_NEAR(room->scale, scale, 0.005);
        // A title bar and a taskbar take some, never half.
        EXPECT_LE(room->width * room->scale, mode.dmPelsWidth + room->scale);
        EXPECT_GT(room->width * room->scale, mode.dmPelsWidth / 2.0);
        EXPECT_LT(room->height * room->scale, mode.dmPelsHeight);
        EXPECT_GT(room->height * room->scale, mode.dmPelsHeight / 2.0);
    }
}

} // namespace
