#pragma once

#include "store/jet/format/format.h"

/// A usage map is a row of a row page; a set bit means "of this owner", in the map of free pages "free".
///
///     inline      0      1                   5
///                 | 00   | first page        | bits, from the lowest of each byte on, to the end of the row
///
///     reference   0      1                   5
///                 | 01   | page of bits 0    | page of bits 1 | ...
///
/// Page of bits k tells of the pages k*32736 .. k*32736+32735; 0: none of them is set. It is
///
///     0       1    2         4
///     | 05    | 01 | 00 00   | 4092 bytes of bits
///
namespace jet::usage_map_layout {

inline constexpr Number<0, 1> kind;
inline constexpr std::uint8_t inlineKind = 0, referenceKind = 1;

/// Of an inline map. The format's own programs let it start at a multiple of 8.
inline constexpr PageField<1> firstPage;
inline constexpr std::size_t inlineBits = 5;
static_assert(fill<0, inlineBits>(kind, firstPage));
inline constexpr PageCount firstPageStep = 8;

/// Of a reference map.
inline constexpr std::size_t entryBytes = 4;
inline constexpr std::size_t entries = 1;
static_assert(fill<0, entries>(kind));
constexpr std::size_t entryAt(std::size_t k) { return entries + entryBytes * k; }

/// Of a page of bits.
inline constexpr std::size_t pageBits = page_layout::head;
inline constexpr PageCount pagesPerBitmap = (pageSize - pageBits) * 8;
static_assert(pagesPerBitmap == 32736);
/// Entries that a file of any length needs; what a longer row holds behind them is left over from when it was inline.
inline constexpr std::size_t mostEntries = (maxPages + pagesPerBitmap - 1) / pagesPerBitmap;

/// A new map: 512 pages, or a list of 17 pages of bits. 57 of them go on a page.
inline constexpr std::size_t newRow = 69;
static_assert(entryAt(mostEntries) == newRow);
inline constexpr std::size_t newRowsPerPage = 57;
inline constexpr std::size_t growthStep = 4; ///< bytes that the format's own programs lengthen an inline map by

} // namespace jet::usage_map_layout

namespace jet {
/// The map of free pages, and the one beside it that is empty in every file.
inline constexpr MapRef freeMap{0, 1};
inline constexpr MapRef secondGlobalMap{1, 1};
} // namespace jet
