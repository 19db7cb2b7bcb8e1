#pragma once

#include <QColor>
#include <cstdint>

class QPalette;

namespace app {

/// A colour as the controls keep it: one number, blue-green-red from high to low byte. A value with the top bit set
/// names a system colour. The number is the state that rules test ("is the label cyan?"); what is painted follows it.
using Colour = std::uint32_t;

namespace colour {
inline constexpr Colour cyan = 0x00FFFF00;       ///< the active label; a key that is not under the mouse
inline constexpr Colour yellow = 0x0000FFFF;     ///< the key under the mouse
inline constexpr Colour white = 0x00FFFFFF;      ///< a label that is not active
inline constexpr Colour green = 0x0000FF00;      ///< the frame of the working station
inline constexpr Colour buttonFace = 0x8000000F; ///< the system's button face: an idle station, a plain button
} // namespace colour

/// The colour to paint for a stored number. Every system colour index is painted as the palette's button face:
/// it is the only one the screen uses.
QColor painted(Colour stored, const QPalette& palette);

/// Black or white, whichever reads better on that ground (at least 4.5 : 1).
QColor inkOn(const QColor& ground);

/// Contrast of two opaque colours after the WCAG formula, 1 to 21.
double contrast(const QColor& one, const QColor& other);

} // namespace app
