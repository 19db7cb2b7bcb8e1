#pragma once

#include "store/jet/format/field.h"

/// One row:
///
///     0                 2
///     | column count NC | fixed fields | variable fields | padding ...
///
///     ... | end of the variable fields | start of field VC-1 | ... | start of field 0 | VC | null bitmap |
///           2 bytes                      2 bytes each                                   2    (NC + 7) / 8
///
/// The second line is found from the end of the row. NC and VC are those of the table when the row was written; the
/// table may have got more columns since. The bitmap has a bit for every column id, 1 for a field that is not Null; a
/// Boolean is nothing but its bit. From the end of the variable fields to VC there is nothing if the table never had a
/// variable column. Starts are counted from the row's first byte.
namespace jet::row_layout {

inline constexpr Number<0, 2> columnCount;
inline constexpr std::size_t fixedFields = 2;
static_assert(fill<0, fixedFields>(columnCount));

inline constexpr std::size_t countBytes = 2; ///< of VC
inline constexpr std::size_t startBytes = 2; ///< of a field's start, and of the end of them all
/// A row must be able to become a pointer to a body elsewhere.
inline constexpr std::size_t shortest = 4;

constexpr std::size_t bitmapBytes(std::size_t columns) { return (columns + 7) / 8; }
/// Bytes from the end of the variable fields to VC, both included.
constexpr std::size_t tableBytes(std::size_t variables) { return startBytes * (variables + 1) + countBytes; }

/// VC, by the place of the bitmap.
template <class Byte> Byte* variableCount(Byte* bitmap) { return bitmap - countBytes; }
/// The start of variable field `k`; for k = VC the end of them all.
template <class Byte> Byte* start(Byte* bitmap, std::size_t k)
{
    return bitmap - countBytes - startBytes - startBytes * k;
}
inline bool bit(const std::uint8_t* bitmap, std::size_t id) { return (bitmap[id / 8] >> id % 8 & 1) != 0; }

} // namespace jet::row_layout
