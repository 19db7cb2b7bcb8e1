#pragma once

#include "store/jet/format/format.h"
#include "store/jet/format/row_page_layout.h"

/// Memo and OLE values. A row holds a reference:
///
///     0                                        4      5                8               12
///     | length, kind in its two highest bits   | slot | page, 3 bytes  | stamp, 4 bytes | ...
///
///     kind 2   the value follows there and then; no place
///     kind 1   the value is a row of a page of the column's own
///     kind 0   it is a chain of such rows, each with the place of the next one in front:
///
///     0      1                4
///     | slot | page, 3 bytes  | piece ...          page 0: the last one
///
namespace jet::long_value_layout {

inline constexpr Number<0, 4> lengthAndKind;
inline constexpr RowPointer<4> place;
inline constexpr Number<8, 4> stamp;
inline constexpr std::size_t reference = 12;
static_assert(fill<0, reference>(lengthAndKind, place, stamp));

inline constexpr unsigned kindShift = 30;
inline constexpr std::uint32_t lengthMask = 0x3FFFFFFF;
static_assert(lengthMask == (std::uint32_t{1} << kindShift) - 1);
inline constexpr unsigned chainKind = 0, onePageKind = 1, inRowKind = 2;

/// In front of each piece of a chain.
inline constexpr RowPointer<0> nextPiece;
inline constexpr std::size_t piece = 4;
static_assert(fill<0, piece>(nextPiece));

inline constexpr std::size_t longestInRow = 64;     ///< bytes that the row itself takes
inline constexpr std::size_t longestOnePage = 4076; ///< bytes that one row takes
static_assert(longestOnePage <= pageSize - row_page_layout::slotsEnd(1));
inline constexpr std::size_t longestPiece = longestOnePage - piece; ///< bytes of the value in one row of a chain
inline constexpr std::size_t longest = lengthMask;                  ///< bytes of any value: 1 GiB less one

} // namespace jet::long_value_layout
