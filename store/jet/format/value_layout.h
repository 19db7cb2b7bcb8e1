#pragma once

#include "store/jet/format/field.h"

#include <algorithm>
#include <array>

/// Fields that are more than one number. A Text is UTF-16, or
///
///     0    1    2
///     | FF | FE | single bytes ... | 00 | pairs ... | 00 | single bytes ...
///
/// where a single byte stands for a character up to FF and each 00 changes from one way to the other.
namespace jet {

namespace text_layout {
inline constexpr std::size_t unitBytes = 2; ///< of UTF-16
inline constexpr std::array<std::uint8_t, 2> compressedMark{0xFF, 0xFE};
inline constexpr std::uint8_t change = 0x00;
/// What the mark is when it is read as a character: a plain text cannot begin with it.
inline constexpr char16_t markAsCharacter = 0xFEFF;

inline constexpr char16_t lastSingle = 0xFF; ///< the last character that goes in one byte

constexpr std::size_t unitAt(std::size_t i) { return unitBytes * i; }
inline bool isCompressed(std::span<const std::uint8_t> stored)
{
    return stored.size() >= compressedMark.size() &&
           std::equal(compressedMark.begin(), compressedMark.end(), stored.begin());
}
} // namespace text_layout

/// A Numeric: its whole digits, without the point.
///
///     0      1                                                       17
///     | sign | four words of 4 bytes, the most significant one first |
///
namespace numeric_layout {
inline constexpr Number<0, 1> sign;
inline constexpr Area<1, 16> words;
inline constexpr std::size_t bytes = 17;
static_assert(fill<0, bytes>(sign, words));

inline constexpr std::uint8_t minus = 0x80;
constexpr std::size_t wordAt(std::size_t word) { return words.begin + 4 * word; }
} // namespace numeric_layout

inline constexpr std::size_t guidBytes = 16;

} // namespace jet
