#pragma once

#include "store/jet/format/field.h"

#include <array>

/// A table's properties, the LvProp of its row in the catalogue: "MR2" 00, then blocks.
///
///     0                                   4               6
///     | length of the block, these included | kind, 2 bytes | ...
///
///     kind 0080   names of properties, each with its length in bytes in front (2 bytes)
///     kind 0000   properties of the table, as those of a column without a name
///     kind 0001   properties of a column: 4 bytes, its name with the length in front, then records
///
/// A record:
///
///     0                                      2    3      4                 6
///     | length of the record, these included | .. | type | number of the name | bytes of the value | value
///
namespace jet::properties_layout {

inline constexpr std::array<std::uint8_t, 4> signature{'M', 'R', '2', 0};

namespace block {
inline constexpr Number<0, 4> length;
inline constexpr Number<4, 2> kind;
inline constexpr std::size_t head = 6;
static_assert(fill<0, head>(length, kind));
inline constexpr unsigned names = 0x0080, table = 0x0000, column = 0x0001;
/// In front of a column's name.
inline constexpr std::size_t beforeColumnName = 4;
} // namespace block

namespace record {
inline constexpr Number<0, 2> length;
inline constexpr Number<2, 1> flag;
inline constexpr Number<3, 1> type; ///< of the value, as of a column
inline constexpr Number<4, 2> name;
inline constexpr Number<6, 2> valueLength;
inline constexpr std::size_t head = 8;
static_assert(fill<0, head>(length, flag, type, name, valueLength));
} // namespace record

inline constexpr Number<0, 2> textLength;

} // namespace jet::properties_layout
