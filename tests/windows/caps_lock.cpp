#include "platform/caps_lock.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

/// A program sees of the keyboard what it has taken messages up to, as every window does all the time.
void takeMessages()
{
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) ::DispatchMessageW(&message);
}

TEST(CapsLock, isReadAndTurnedOverByAKeyOfOurs)
{
    takeMessages();
    const auto keyboard = platform::systemKeyboard();
    const bool before = keyboard->toggled(platform::capsLockKey).value();
    for (const bool wanted : {!before, before}) {
        keyboard->send(platform::capsLockKey, 0);
        keyboard->send(platform::capsLockKey, platform::keyUp);
        takeMessages();
        EXPECT_EQ(keyboard->toggled(platform::capsLockKey), wanted);
    }
}

} // namespace
