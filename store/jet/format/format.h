#pragma once

#include <cstddef> // before <compare>: moc of Qt 6.4 stumbles otherwise

#include "store/jet/format/field.h"
#include "store/jet/format/ordinal.h"

#include <compare>
#include <cstdint>
#include <span>

/// What all pages have in common. Every kind of page has a header of its own beside this one, with a drawing of its
/// bytes; past this folder there are only names. All numbers are on disk: never renumber. docs/mdb-format.md tells how
/// the pages hang together.
namespace jet {

inline constexpr std::size_t pageSize = 4096;

using PageNo = Ordinal<struct PageKind, std::uint32_t>; ///< 24 bits in rows and index entries; 0, the header, is "none"
inline constexpr PageNo farthestPage{0xFFFFFFU}; ///< the greatest number that has room there; no file is that long
using PageCount = std::uint32_t;
using SlotNo = Ordinal<struct SlotKind, std::uint16_t>; ///< a row's number on its page, 8 bits in rows and entries

/// 2 GiB: the largest file that the format's tools accept.
inline constexpr PageCount maxPages = 524288;

/// Where the page begins in the file, in bytes.
constexpr std::uint64_t positionOf(PageNo page) { return std::uint64_t{page.number()} * pageSize; }

using PageView = std::span<const std::uint8_t, pageSize>;
using PageBytes = std::span<std::uint8_t, pageSize>;

enum class PageType : std::uint8_t {
    blank = 0,
    row = 1,
    tableDefinition = 2,
    indexNode = 3,
    indexLeaf = 4,
    usageBitmap = 5,
    droppedTable = 8,
    emptiedRow = 9,
};

/// Every page in use but page 0 begins alike:
///
///     0      1      2            4
///     | type | mark | free bytes | what the kind says ...
///
namespace page_layout {
inline constexpr Number<0, 1> type;
inline constexpr Number<1, 1> mark;      ///< always 1
inline constexpr Number<2, 2> freeBytes; ///< of a usage bitmap: 0
inline constexpr std::size_t head = 4;
static_assert(fill<0, head>(type, mark, freeBytes));

inline constexpr std::uint8_t markInUse = 1;
} // namespace page_layout

inline bool isPageOf(PageView page, PageType type)
{
    return page_layout::type.get(page) == static_cast<std::uint8_t>(type);
}
/// Writes the first two bytes of a page in use.
inline void stampPage(std::span<std::uint8_t> page, PageType type)
{
    page_layout::type.put(page, static_cast<std::uint8_t>(type));
    page_layout::mark.put(page, page_layout::markInUse);
}

/// A row's place for ever: page and slot of its head. Index entries contain it.
struct RowId {
    PageNo page = 0;
    SlotNo slot = 0;
    /// As index entries hold it: the page above, the slot in the lowest byte.
    constexpr std::uint32_t packed() const { return page.number() << 8 | slot.number(); }
    static constexpr RowId unpacked(std::uint32_t id) { return {PageNo(id >> 8), SlotNo(id & 0xFF)}; }
    auto operator<=>(const RowId&) const = default; // NOLINT(modernize-use-nullptr) there is no pointer here
};

/// Where a usage map stands: a slot of a row page.
struct MapRef {
    SlotNo slot = 0;
    PageNo page = 0;
    bool none() const { return page == 0; }
    auto operator<=>(const MapRef&) const = default; // NOLINT(modernize-use-nullptr) there is no pointer here
};

/// A page or a slot as other bytes name it.
template <std::size_t Begin, std::size_t Size, class Type> struct OrdinalField : Area<Begin, Size> {
    static Type get(const std::uint8_t* record) { return Type(Number<Begin, Size>::get(record)); }
    static void put(std::uint8_t* record, Type one) { Number<Begin, Size>::put(record, one.number()); }
    static Type get(std::span<const std::uint8_t> record) { return get(record.data()); }
    static void put(std::span<std::uint8_t> record, Type one) { put(record.data(), one); }
};
template <std::size_t Begin, std::size_t Size = 4> using PageField = OrdinalField<Begin, Size, PageNo>;
template <std::size_t Begin> using SlotField = OrdinalField<Begin, 1, SlotNo>;

/// A row or a map as other bytes point to it:
///
///     0      1                4
///     | slot | page, 3 bytes  |
///
template <std::size_t Begin, class Target> struct Pointer : Area<Begin, 4> {
    static constexpr SlotField<Begin> slot{};
    static constexpr PageField<Begin + 1, 3> page{};
    static_assert(fill<Begin, Begin + 4>(slot, page));

    static Target get(const std::uint8_t* record)
    {
        Target target;
        target.slot = slot.get(record);
        target.page = page.get(record);
        return target;
    }
    static void put(std::uint8_t* record, Target target)
    {
        slot.put(record, target.slot);
        page.put(record, target.page);
    }
    static Target get(std::span<const std::uint8_t> record) { return get(record.data()); }
    static void put(std::span<std::uint8_t> record, Target target) { put(record.data(), target); }
};
template <std::size_t Begin> using RowPointer = Pointer<Begin, RowId>;
template <std::size_t Begin> using MapPointer = Pointer<Begin, MapRef>;

} // namespace jet
