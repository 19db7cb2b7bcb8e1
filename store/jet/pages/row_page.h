#pragma once

#include "store/jet/format/row_page_layout.h"

#include <cstdint>
#include <optional>
#include <span>

/// Row pages: data pages, pages of long values and of usage maps (format/row_page_layout.h draws them). A slot's number
/// never changes and is never used again: index entries contain it.
namespace jet {

/// One entry of a page's slot table.
struct Slot {
    std::uint16_t offset = 0; ///< within the page
    std::uint16_t length = 0;
    bool pointer = false; ///< the first bytes name the slot and page where the row's body stands
    bool hidden = false;  ///< alone the body of a moved row, with `pointer` a dead slot
    bool live() const { return !hidden; }
    bool body() const { return hidden && !pointer; }
    bool dead() const { return hidden && pointer; }
};

inline PageNo rowPageOwner(PageView page) { return row_page_layout::owner.get(page); }
inline bool isRowPage(PageView page, PageNo owner)
{
    return isPageOf(page, PageType::row) && rowPageOwner(page) == owner;
}

/// The number of slots; nothing when the table would not fit the page or its slots could not be addressed.
inline std::optional<unsigned> slotCount(PageView page)
{
    const unsigned count = row_page_layout::slotCount.get(page);
    if (count > limits::slotsOnPage + 1) return std::nullopt;
    return count;
}

/// The slot, or nothing when its bytes lie outside the room for rows. `slot` is below `count`, the page's slotCount.
inline std::optional<Slot> slotAt(PageView page, SlotNo slot, unsigned count)
{
    namespace at = row_page_layout;
    const std::uint8_t* entry = page.data() + at::slotAt(slot);
    const std::uint16_t raw = getU16(entry);
    const std::uint16_t offset = raw & at::offsetMask;
    const std::uint16_t end =
        slot == 0 ? static_cast<std::uint16_t>(pageSize) : getU16(entry - at::slotBytes) & at::offsetMask;
    if (offset > end || end > pageSize || offset < at::slotsEnd(count)) return std::nullopt;
    return Slot{offset, static_cast<std::uint16_t>(end - offset), (raw & at::pointerFlag) != 0,
                (raw & at::hiddenFlag) != 0};
}

/// Nothing where there is no such slot, or a damaged one.
inline std::optional<Slot> slotAt(PageView page, SlotNo slot)
{
    const std::optional<unsigned> count = slotCount(page);
    if (!count || slot >= SlotNo(*count)) return std::nullopt;
    return slotAt(page, slot, *count);
}

inline std::span<const std::uint8_t> slotBytes(PageView page, Slot slot)
{
    return page.subspan(slot.offset, slot.length);
}

/// Where the pointer of a moved row leads; nothing when the row is too short to hold one.
std::optional<RowId> pointerOf(PageView page, Slot slot);

/// True when every slot lies in the page, in order: what the functions below rely on.
bool slotsInOrder(PageView page);

/// Bytes left between the slot table and the lowest row, by the slots themselves.
std::size_t freeBytes(PageView page);
/// The longest row that appendRow would take.
std::size_t roomForRow(PageView page);

enum class RowKind { ordinary, body };

/// `deadSlots`: so many slot numbers are not to be used any more.
void initRowPage(PageBytes page, PageNo owner, unsigned deadSlots = 0);
/// Adds a row under a new slot. The caller has asked roomForRow.
SlotNo appendRow(PageBytes page, std::span<const std::uint8_t> row, RowKind kind);
/// True when the slot's row may become `length` bytes long without leaving the page.
bool fitsSlot(PageView page, SlotNo slot, std::size_t length);
/// Gives the slot a row of any length that fitsSlot; the rows below it move, all slots keep their flags.
void replaceRow(PageBytes page, SlotNo slot, std::span<const std::uint8_t> row);
/// Makes the slot a pointer to a body elsewhere. Its length stays, at least row_layout::shortest.
void pointSlot(PageBytes page, SlotNo slot, RowId body);
/// Takes the slot's bytes out of the page and marks it dead.
void killSlot(PageBytes page, SlotNo slot);
/// The same for all slots of the page at once.
void killAllSlots(PageBytes page);
/// True when no slot of the page holds a row. Its slots can be counted.
bool allSlotsDead(PageView page);

} // namespace jet
