#pragma once

#include "pressing/station_screen.h"

/// The on-screen keypad: 49 keys that edit the active label.
namespace pressing {

inline constexpr int keyCount = 49;
inline constexpr int letterKeyCount = 32; ///< keys 0..31 change case

namespace keys {
inline constexpr int dotlessI = 10;
inline constexpr int dottedI = 11;
inline constexpr int backspace = 33;
inline constexpr int space = 34;
inline constexpr int doubleZero = 35;
inline constexpr int clear = 46;
inline constexpr int letterCase = 47;
} // namespace keys

/// Captions of all keys in index order, capitals.
const std::array<QString, keyCount>& keyCaptions();

/// The caption of a letter key after the case was set, from the caption it has now. The general case mapping does not
/// give the Turkish dotted and dotless i, so keys 10 and 11 are set explicitly.
QString letterCaption(int key, const QString& now, bool capitals);
/// "AB" or "ab": the case key itself.
QString caseKeyCaption(bool capitals);

/// What a key does beyond the captions.
class KeypadScreen {
public:
    virtual ~KeypadScreen() = default;
    virtual QString keyCaption(int key) const = 0;
    virtual bool stationFrameEnabled() const = 0; ///< of the current station
    virtual bool reportPanelShown() const = 0;    ///< `Frame4`
    virtual bool capitals() const = 0;            ///< `CapsDurum`
    virtual void toggleCapitals() = 0;            ///< flag, Caps Lock, setting and key captions
    virtual void IlkHarfBuyut() = 0;              ///< title case on the active label
};

/// `Label1` clicked. An error of a display's rule ends the click where it is; a figure too large to go on with is not
/// taken at all.
void keyPressed(StationScreen& screen, KeypadScreen& keypad, int key);

} // namespace pressing
