#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The key of an index entry: the keys of its columns one behind the other. Entries are in order of their bytes.
///
///     | flag | payload of column 1 | flag | payload of column 2 | ...
///
/// The flag is 7F, in a descending column 80; 00 and FF stand for Null, without a payload. A descending payload is the
/// ascending one with every bit turned, but where said.
///
///     Boolean         00 True, FF False; Null is False
///     Byte            itself
///     Integer, Long,  most significant byte first, the sign bit turned
///     Currency
///     Single, Double, most significant byte first, the sign bit turned; of negative numbers every bit
///     Date/Time
///     Numeric         00 negative, FF positive, never turned; the four words, most significant byte first, turned
///                     if the number is negative
///     GUID            its bytes as the text shows them, as a Binary of 16
///     Binary          groups of eight: 09 behind a full one with more to come (never turned), the last one filled up
///                     with 00 and its count behind it; nothing for no bytes
///     Text, Memo      letters | 01 | diacritics | 01 01 kana FF ... | 01 signs | 00, each part where there is one;
///                     descending, a 00 that is not turned follows
///
namespace jet::key_layout {

inline constexpr std::uint8_t valueAscending = 0x7F, valueDescending = 0x80;
inline constexpr std::uint8_t nullAscending = 0x00, nullDescending = 0xFF;

inline constexpr std::uint8_t trueByte = 0x00, falseByte = 0xFF;
inline constexpr std::uint8_t negativeNumeric = 0x00, positiveNumeric = 0xFF;

inline constexpr std::size_t binaryGroup = 8;
inline constexpr std::uint8_t moreGroups = 0x09;
/// Where the parts of a GUID begin that are stored with the lowest byte first, and where they end.
inline constexpr std::array<std::size_t, 4> guidParts{0, 4, 6, 8};

namespace text {
inline constexpr std::uint8_t partEnd = 0x01;
inline constexpr std::uint8_t end = 0x00;
inline constexpr std::uint8_t noDiacritic = 0x02;
/// Kana marks: three of two bits to a byte under a set top bit, the first one in the highest bits.
inline constexpr unsigned kanaByte = 0x80;
inline constexpr std::size_t kanaPerByte = 3;
inline constexpr unsigned kanaBits = 2;
inline constexpr std::array<std::uint8_t, 5> kanaEnd{0xFF, 0x02, 0x80, 0xFF, 0x80};
inline constexpr std::uint8_t betweenKanaAndSigns = 0xFF;
/// A sign: its place among the letters, a 06, its code. Places are counted in fours from 7 on.
inline constexpr unsigned signPlace = 0x8000, signPlaceStep = 4, signPlaceStart = 7;
inline constexpr std::uint8_t signMark = 0x06;
inline constexpr std::size_t signBytes = 4;
} // namespace text

/// Longer keys are never written: what Access makes of them differs between its versions.
inline constexpr std::size_t longest = 508;

} // namespace jet::key_layout
