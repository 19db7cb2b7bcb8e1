#pragma once

#include "store/jet/format/long_value_layout.h"
#include "store/jet/pages/pager.h"
#include "store/jet/pages/usage_map.h"
#include "store/jet/rows/row_codec.h"
#include "store/jet/values/value.h"

#include <cstdint>
#include <span>
#include <vector>

/// Memo and OLE values: short ones in their row, longer ones as a row of a page of the column's own, the longest as
/// chains of such rows (format/long_value_layout.h draws them).
namespace jet {

/// The value's bytes. Throws damaged. Pages are read in passing where there is a buffer for that; those of a value of
/// more than a megabyte always are.
Bytes readLongValue(Pager& pager, std::span<const std::uint8_t> reference, PassingBuffer* passing = nullptr);

/// The value of any field of a sound row, read from wherever it stands. Throws damaged.
Value fieldValue(Pager& pager, const RowLayout& layout, std::size_t column, std::span<const std::uint8_t> row,
                 PassingBuffer* passing = nullptr);

/// Where the parts of a value stand outside its row, in order; none for one that lies in the row. Throws damaged.
std::vector<RowId> longValuePlaces(Pager& pager, std::span<const std::uint8_t> reference,
                                   PassingBuffer* passing = nullptr);

/// The field of a value short enough for its row: at most long_value_layout::longestInRow bytes.
Bytes longValueInRow(std::span<const std::uint8_t> data);

/// Stores a longer value, of at most long_value_layout::longest bytes, on pages of its column and returns its field for
/// the row. `owned` and `freeSpace` are the column's maps. In a transaction.
Bytes writeLongValue(Pager& pager, MapRef owned, MapRef freeSpace, std::span<const std::uint8_t> data);

/// Frees what a reference holds outside its row; pages that become empty are given back. In a transaction.
void eraseLongValue(Pager& pager, MapRef owned, MapRef freeSpace, std::span<const std::uint8_t> reference);

/// Gives back every page of a column's long values. In a transaction.
void eraseAllLongValues(Pager& pager, MapRef owned, MapRef freeSpace);

} // namespace jet
