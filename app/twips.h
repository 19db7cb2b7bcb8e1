#pragma once

#include <cmath>

/// Positions as the rules of the screen state them. A pixel here is Qt's device-independent one, 96 to the inch
/// whatever the screen, so the factor is always 15.
namespace app::twips {

inline constexpr int perPixel = 15;

constexpr int fromPixels(int pixels) { return pixels * perPixel; }

/// The nearest pixel. Compare in twips and round only when something is moved.
inline int toPixels(double twips) { return static_cast<int>(std::lround(twips / perPixel)); }

} // namespace app::twips
