#pragma once

#include <cstddef>
#include <cstdint>

/// How much of anything a file may hold. Access refuses what is beyond; so does this engine when it writes, and the
/// check calls it a fault where it reads it.
namespace jet::limits {

inline constexpr unsigned name = 64; ///< characters of a table's, column's or index's name
inline constexpr unsigned columns = 255;
inline constexpr unsigned indexes = 32;      ///< of a new table
inline constexpr unsigned indexesRead = 255; ///< of a table that is there: relationships add theirs
inline constexpr unsigned indexColumns = 10;
inline constexpr std::uint16_t text = 255; ///< characters of a Text field; what lies behind them has no place in a key
inline constexpr std::uint16_t binary = 510;       ///< bytes
inline constexpr std::uint8_t digits = 28;         ///< of a Numeric
inline constexpr std::size_t row = 4060;           ///< bytes
inline constexpr unsigned slotsOnPage = 255;       ///< on a page, dead ones included
inline constexpr std::size_t definitionPages = 64; ///< the greatest definition needs fewer

inline constexpr double firstDay = -657434.0;     ///< 1 January 100
inline constexpr double dayAfterLast = 2958466.0; ///< 1 January 10000

/// A moment of the calendar, in days. Before day zero the hours lead away from zero: those of the first day reach down
/// towards the day before it. False for what is no number.
constexpr bool isMoment(double days) { return days > firstDay - 1 && days < dayAfterLast; }

} // namespace jet::limits
