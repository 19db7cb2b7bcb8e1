#include "store/jet/pages/row_page.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace jet {
namespace {

namespace at = row_page_layout;

unsigned slotsOf(PageView page) { return at::slotCount.get(page); }

std::uint8_t* entryOf(PageBytes page, SlotNo slot) { return page.data() + at::slotAt(slot); }

std::uint16_t lowestRow(PageView page)
{
    const unsigned count = slotsOf(page);
    if (count == 0) return pageSize;
    return getU16(page.data() + at::slotAt(SlotNo(count - 1))) & at::offsetMask;
}

void storeFree(PageBytes page) { at::freeBytes.put(page, static_cast<std::uint32_t>(freeBytes(page))); }

/// Gives the slot `length` bytes; the old content up to the shorter of both is kept at the row's start.
void resizeSlot(PageBytes page, SlotNo slot, std::size_t length)
{
    const Slot old = *slotAt(page, slot);
    const unsigned count = slotsOf(page);
    const std::uint16_t lowest = lowestRow(page);
    const std::ptrdiff_t shift = static_cast<std::ptrdiff_t>(old.length) - static_cast<std::ptrdiff_t>(length);
    assert(lowest + shift >= static_cast<std::ptrdiff_t>(at::slotsEnd(count)));
    // The row's first bytes move with the rows below it; what is cut off or added is at its end.
    const std::size_t kept = std::min<std::size_t>(old.length, length);
    std::memmove(page.data() + lowest + shift, page.data() + lowest, old.offset + kept - lowest);
    for (SlotNo k = slot; k < SlotNo(count); ++k) {
        const std::uint16_t raw = getU16(entryOf(page, k));
        const auto offset = static_cast<std::uint16_t>((raw & at::offsetMask) + shift);
        putU16(entryOf(page, k), static_cast<std::uint16_t>((raw & ~at::offsetMask) | offset));
    }
    // The emptied stretch is zeroed so that files do not carry remains of deleted rows.
    if (shift > 0) std::fill_n(page.begin() + lowest, shift, std::uint8_t{0});
    storeFree(page);
}

} // namespace

std::optional<RowId> pointerOf(PageView page, Slot slot)
{
    if (slot.length < at::pointer.size) return std::nullopt;
    return at::pointer.get(slotBytes(page, slot));
}

bool slotsInOrder(PageView page)
{
    const std::optional<unsigned> count = slotCount(page);
    if (!count) return false;
    for (SlotNo k = 0; k < SlotNo(*count); ++k) {
        if (!slotAt(page, k, *count)) return false;
    }
    return true;
}

std::size_t freeBytes(PageView page)
{
    const std::size_t used = at::slotsEnd(slotsOf(page));
    const std::size_t lowest = lowestRow(page);
    return lowest > used ? lowest - used : 0;
}

std::size_t roomForRow(PageView page)
{
    const std::size_t room = freeBytes(page);
    return slotsOf(page) >= limits::slotsOnPage || room < at::slotBytes ? 0 : room - at::slotBytes;
}

void initRowPage(PageBytes page, PageNo owner, unsigned deadSlots)
{
    std::fill(page.begin(), page.end(), std::uint8_t{0});
    stampPage(page, PageType::row);
    at::owner.put(page, owner);
    at::slotCount.put(page, deadSlots);
    for (SlotNo k = 0; k < SlotNo(deadSlots); ++k) putU16(entryOf(page, k), pageSize | at::deadFlags);
    storeFree(page);
}

SlotNo appendRow(PageBytes page, std::span<const std::uint8_t> row, RowKind kind)
{
    assert(row.size() <= roomForRow(page));
    const unsigned before = slotsOf(page);
    const SlotNo slot(before);
    const auto offset = static_cast<std::uint16_t>(lowestRow(page) - row.size());
    std::copy(row.begin(), row.end(), page.begin() + offset);
    at::slotCount.put(page, before + 1);
    putU16(entryOf(page, slot), static_cast<std::uint16_t>(offset | (kind == RowKind::body ? at::hiddenFlag : 0)));
    storeFree(page);
    return slot;
}

bool fitsSlot(PageView page, SlotNo slot, std::size_t length)
{
    const std::optional<Slot> old = slotAt(page, slot);
    return old && length <= old->length + freeBytes(page);
}

void replaceRow(PageBytes page, SlotNo slot, std::span<const std::uint8_t> row)
{
    resizeSlot(page, slot, row.size());
    std::copy(row.begin(), row.end(), page.begin() + slotAt(page, slot)->offset);
}

void pointSlot(PageBytes page, SlotNo slot, RowId body)
{
    const Slot head = *slotAt(page, slot);
    assert(head.length >= at::pointer.size);
    at::pointer.put(page.subspan(head.offset), body);
    putU16(entryOf(page, slot), head.offset | at::pointerFlag);
}

void killSlot(PageBytes page, SlotNo slot)
{
    resizeSlot(page, slot, 0);
    std::uint8_t* entry = entryOf(page, slot);
    putU16(entry, getU16(entry) | at::deadFlags);
}

void killAllSlots(PageBytes page)
{
    const unsigned count = slotsOf(page);
    for (SlotNo k = 0; k < SlotNo(count); ++k) putU16(entryOf(page, k), pageSize | at::deadFlags);
    std::fill(page.begin() + static_cast<std::ptrdiff_t>(at::slotsEnd(count)), page.end(), std::uint8_t{0});
    storeFree(page);
}

bool allSlotsDead(PageView page)
{
    const unsigned count = slotsOf(page);
    for (SlotNo k = 0; k < SlotNo(count); ++k) {
        const std::uint16_t raw = getU16(page.data() + at::slotAt(k));
        if ((raw & at::deadFlags) != at::deadFlags) return false;
    }
    return true;
}

} // namespace jet
