#pragma once

#include "store/jet/format/format.h"
#include "store/jet/format/limits.h"

/// Row pages: data pages, pages of long values and of usage maps.
///
///     0     type 01
///     1     01
///     2     free bytes: those between the slots and the lowest row
///     4     owner, 4 bytes: the definition of the table, "LVAL", 0 for usage maps, 1 for those of page 1
///     8     stamp, 4 bytes: of a chain of long values, else 0
///     12    number of slots, dead ones included
///     14    slots, 2 bytes each
///           ... free bytes ...
///           row of the last slot
///           ...
///           row of slot 1
///           row of slot 0
///     4096
///
/// Rows lie in slot order from the end of the page downwards, so a row ends where the row of the slot before it starts.
/// A slot:
///
///     bit 15   14        12 .. 0
///     | hidden | pointer | where the row starts; 1000 (the end of the page) for an empty slot 0 |
///
///     pointer alone        the row's first 4 bytes name slot and page of its body
///     hidden alone         the body of a moved row
///     hidden and pointer   dead
///
namespace jet::row_page_layout {

inline constexpr auto type = page_layout::type;
inline constexpr auto mark = page_layout::mark;
inline constexpr auto freeBytes = page_layout::freeBytes;
inline constexpr PageField<4> owner;
inline constexpr Number<8, 4> stamp;
inline constexpr Number<12, 2> slotCount;
inline constexpr std::size_t slotTable = 14;
static_assert(fill<0, slotTable>(type, mark, freeBytes, owner, stamp, slotCount));

inline constexpr std::size_t slotBytes = 2;
inline constexpr std::uint16_t hiddenFlag = 0x8000;
inline constexpr std::uint16_t pointerFlag = 0x4000;
inline constexpr std::uint16_t deadFlags = hiddenFlag | pointerFlag;
inline constexpr std::uint16_t offsetMask = 0x1FFF;
static_assert((offsetMask & pageSize) == pageSize && (offsetMask & deadFlags) == 0);

/// Where the table of that many slots ends: nothing of a row lies below it.
constexpr std::size_t slotsEnd(std::size_t count) { return slotTable + slotBytes * count; }
/// Where a slot stands in the page.
constexpr std::size_t slotAt(SlotNo slot) { return slotsEnd(slot.number()); }

/// What the row of a pointer begins with.
inline constexpr RowPointer<0> pointer;
static_assert(limits::row + slotsEnd(1) <= pageSize);

/// Owners that are no definition: no file has a page of that number, and 0 is the header.
inline constexpr PageNo longValueOwner{std::uint32_t{0x4C41564C}}; ///< "LVAL"
inline constexpr PageNo mapOwner = 0;

} // namespace jet::row_page_layout
