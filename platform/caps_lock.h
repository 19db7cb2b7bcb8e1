#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace platform {

/// The keyboard, as far as Caps Lock goes: read the toggle state of a key, inject one key event.
/// Tests replace it by a keyboard that records.
class Keyboard {
public:
    virtual ~Keyboard() = default;

    /// Whether the key is toggled on; nothing where that cannot be known.
    virtual std::optional<bool> toggled(std::uint32_t key) = 0;

    /// Injects one event of the key. Failures are not seen: the caller asks toggled() again if it wants to know.
    virtual void send(std::uint32_t key, std::uint32_t flags) = 0;
};

/// The Caps Lock key and the flag of its release: the numbers of Windows (VK_CAPITAL, KEYEVENTF_KEYUP) on every system.
inline constexpr std::uint32_t capsLockKey = 20;
inline constexpr std::uint32_t keyUp = 2;

/// The real keyboard of this machine. On X11 only Caps Lock is known, and a key-down event of it turns the lock over;
/// without an X server nothing can be read and sending does nothing.
std::unique_ptr<Keyboard> systemKeyboard();

} // namespace platform
