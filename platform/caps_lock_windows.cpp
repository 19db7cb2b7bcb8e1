#include "platform/caps_lock.h"

#include <windows.h>

namespace platform {

namespace {

class WindowsKeyboard final : public Keyboard {
public:
    std::optional<bool> toggled(std::uint32_t key) override { return (GetKeyState(static_cast<int>(key)) & 1) != 0; }

    void send(std::uint32_t key, std::uint32_t flags) override
    {
        constexpr UINT virtualKeyToScanCode = 0;
        INPUT input = {};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = static_cast<WORD>(key);
        input.ki.wScan = static_cast<WORD>(MapVirtualKeyA(key, virtualKeyToScanCode));
        input.ki.dwFlags = flags;
        // The record's size differs between 32 and 64 bits; with a wrong one nothing is injected and no error is seen.
        SendInput(1, &input, sizeof(INPUT));
    }
};

} // namespace

std::unique_ptr<Keyboard> systemKeyboard() { return std::make_unique<WindowsKeyboard>(); }

} // namespace platform
