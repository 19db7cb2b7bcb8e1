#pragma once

#include "store/jet/format/format.h"

/// Pages of an index tree.
///
///     0      type 03 (node) or 04 (leaf)
///     1      01
///     2      free bytes of the entry area
///     4      owner: the definition of the table
///     8      0, 4 bytes
///     12     page before this one on its level
///     16     page behind it
///     20     tail: the last child of a node
///     24     prefix: bytes of the first entry that all others are stored without
///     26     level: 0 in leaves
///     27     mask, 453 bytes: bit i says that an entry ends at byte i of the area
///     480    entry area, 3616 bytes
///     4096
///
/// An entry, its numbers with the most significant byte first:
///
///     | key | page of the row, 3 bytes | slot of the row | and in a node: page of the child, 4 bytes |
///
namespace jet::index_layout {

inline constexpr auto type = page_layout::type;
inline constexpr auto mark = page_layout::mark;
inline constexpr auto freeBytes = page_layout::freeBytes;
inline constexpr PageField<4> owner;
inline constexpr Number<8, 4> zero;
inline constexpr PageField<12> previous;
inline constexpr PageField<16> next;
inline constexpr PageField<20> tail;
inline constexpr Number<24, 2> prefix;
inline constexpr Number<26, 1> level;
inline constexpr Area<27, 453> mask;
inline constexpr Area<480, 3616> area;
static_assert(fill<0, pageSize>(type, mark, freeBytes, owner, zero, previous, next, tail, prefix, level, mask, area));
static_assert(mask.size * 8 > area.size); // an entry may end where the area does

inline constexpr std::size_t rowIdBytes = 4;     ///< behind the key of every entry
inline constexpr std::size_t childPageBytes = 4; ///< behind the row id in nodes

} // namespace jet::index_layout
