#pragma once

#include "platform/caps_lock.h"
#include <QString>
#include <QStringView>
#include <cstdint>
#include <memory>

namespace app {

/// Keeps the keyboard's Caps Lock in line with the on-screen keypad.
/// Where the keyboard cannot be read nothing is ever sent; the keypad's own flag rules all the same.
class KeyboardState {
public:
    /// The keyboard must outlive this object.
    explicit KeyboardState(platform::Keyboard& keyboard) : keyboard_(keyboard) {}

    bool CapsOku();                ///< Caps Lock is on; false where that cannot be known
    void CapsAyarla(bool& wanted); ///< forces Caps Lock into that state, which stays as it is
    void CapsBas();                ///< one press and release of Caps Lock
    void TusGonder(std::int32_t key, std::int32_t flags);

private:
    platform::Keyboard& keyboard_;
};

/// The keyboard that belongs to the windows of this platform plug-in ("xcb", "windows", "offscreen" ...). Where no
/// person's keyboard stands behind the windows, nothing is known of it and nothing is ever sent: a screen that is not
/// there must not press keys on one that is.
std::unique_ptr<platform::Keyboard> keyboardOf(QStringView platformName);

/// What becomes of the active label's caption when its first letter is made a capital: i ı ö ğ ş by hand, leaving the
/// rest as it was; every other text goes through base::properCase, which capitalises every word.
QString IlkHarfBuyut(QStringView caption);

} // namespace app
