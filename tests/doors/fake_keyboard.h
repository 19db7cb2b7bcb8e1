#pragma once

#include "platform/caps_lock.h"

#include <QString>

using namespace Qt::StringLiterals;

/// A keyboard with nothing but a Caps Lock key. It notes what is sent to it and, like a real one, turns the lock over
/// at each press.
class FakeKeyboard : public platform::Keyboard {
public:
    std::optional<bool> toggled(std::uint32_t key) override
    {
        return key == platform::capsLockKey ? capsLock : std::nullopt;
    }
    void send(std::uint32_t key, std::uint32_t flags) override
    {
        sent += u"%1/%2 "_s.arg(key).arg(flags);
        if (key != platform::capsLockKey || (flags & platform::keyUp)) return;
        ++presses;
        if (capsLock) capsLock = !*capsLock;
    }

    std::optional<bool> capsLock = false; ///< nothing: it cannot be read
    int presses = 0;                      ///< of Caps Lock, its releases not counted
    QString sent;                         ///< every event as key/flags and a blank
};
