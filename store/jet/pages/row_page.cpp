#include "store/jet/pages/row_page.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace jet {
namespace {

constexpr std::uint16_t pointerFlag = 0x4000;
constexpr std::uint16_t hiddenFlag = 0x8000;
constexpr std::uint16_t offsetMask = 0x1FFF;

unsigned slotsOf(PageView page) { return getU16(page.data() + 12); }

std::uint8_t* entryOf(PageBytes page, unsigned slot) { return page.data() + rowPageHeader + 2 * slot; }

std::uint16_t lowestRow(PageView page)
{
    const unsigned count = slotsOf(page);
    if (count == 0) return pageSize;
    return getU16(page.data() + rowPageHeader + 2 * (count - 1)) & offsetMask;
}

void storeFree(PageBytes page) { putU16(page.data() + 2, static_cast<std::uint32_t>(freeBytes(page))); }

/// Gives the slot `length` bytes; the old content up to the shorter of both is kept at the row's start.
void resizeSlot(PageBytes page, unsigned slot, std::size_t length)
{
    const Slot old = *slotAt(page, slot);
    const unsigned count = slotsOf(page);
    const std::uint16_t lowest = lowestRow(page);
    const std::ptrdiff_t shift = static_cast<std::ptrdiff_t>(old.length) - static_cast<std::ptrdiff_t>(length);
    assert(lowest + shift >= static_cast<std::ptrdiff_t>(rowPageHeader + 2 * count));
    // The row's first bytes move with the rows below it; what is cut off or added is at its end.
    const std::size_t kept = std::min<std::size_t>(old.length, length);
    std::memmove(page.data() + lowest + shift, page.data() + lowest, old.offset + kept - lowest);
    for (unsigned k = slot; k < count; ++k) {
        const std::uint16_t raw = getU16(entryOf(page, k));
        const auto offset = static_cast<std::uint16_t>((raw & offsetMask) + shift);
        putU16(entryOf(page, k), static_cast<std::uint16_t>((raw & ~offsetMask) | offset));
    }
    // The emptied stretch is zeroed so that files do not carry remains of deleted rows.
    if (shift > 0) std::fill_n(page.begin() + lowest, shift, std::uint8_t{0});
    storeFree(page);
}

} // namespace

std::optional<RowId> pointerOf(PageView page, Slot slot)
{
    if (slot.length < 4) return std::nullopt;
    const std::uint8_t* p = page.data() + slot.offset;
    return RowId{getU24(p + 1), p[0]};
}

bool slotsInOrder(PageView page)
{
    const std::optional<unsigned> count = slotCount(page);
    if (!count) return false;
    for (unsigned k = 0; k < *count; ++k) {
        if (!slotAt(page, k, *count)) return false;
    }
    return true;
}

std::size_t freeBytes(PageView page)
{
    const std::size_t used = rowPageHeader + 2 * slotsOf(page);
    const std::size_t lowest = lowestRow(page);
    return lowest > used ? lowest - used : 0;
}

std::size_t roomForRow(PageView page)
{
    const std::size_t room = freeBytes(page);
    return slotsOf(page) >= maxSlots || room < 2 ? 0 : room - 2;
}

void initRowPage(PageBytes page, std::uint32_t owner)
{
    std::fill(page.begin(), page.end(), std::uint8_t{0});
    page[0] = static_cast<std::uint8_t>(PageType::row);
    page[1] = 1;
    putU32(page.data() + 4, owner);
    storeFree(page);
}

std::uint8_t appendRow(PageBytes page, std::span<const std::uint8_t> row, RowKind kind)
{
    assert(row.size() <= roomForRow(page));
    const unsigned slot = slotsOf(page);
    const auto offset = static_cast<std::uint16_t>(lowestRow(page) - row.size());
    std::copy(row.begin(), row.end(), page.begin() + offset);
    putU16(page.data() + 12, slot + 1);
    putU16(entryOf(page, slot), static_cast<std::uint16_t>(offset | (kind == RowKind::body ? hiddenFlag : 0)));
    storeFree(page);
    return static_cast<std::uint8_t>(slot);
}

bool fitsSlot(PageView page, unsigned slot, std::size_t length)
{
    const std::optional<Slot> old = slotAt(page, slot);
    return old && length <= old->length + freeBytes(page);
}

void replaceRow(PageBytes page, unsigned slot, std::span<const std::uint8_t> row)
{
    resizeSlot(page, slot, row.size());
    std::copy(row.begin(), row.end(), page.begin() + slotAt(page, slot)->offset);
}

void pointSlot(PageBytes page, unsigned slot, RowId body)
{
    const Slot head = *slotAt(page, slot);
    assert(head.length >= 4);
    page[head.offset] = body.slot;
    putU24(page.data() + head.offset + 1, body.page);
    putU16(entryOf(page, slot), head.offset | pointerFlag);
}

void killSlot(PageBytes page, unsigned slot)
{
    resizeSlot(page, slot, 0);
    std::uint8_t* entry = entryOf(page, slot);
    putU16(entry, getU16(entry) | pointerFlag | hiddenFlag);
}

void killAllSlots(PageBytes page)
{
    const unsigned count = slotsOf(page);
    for (unsigned k = 0; k < count; ++k) putU16(entryOf(page, k), pageSize | pointerFlag | hiddenFlag);
    std::fill(page.begin() + static_cast<std::ptrdiff_t>(rowPageHeader + 2 * count), page.end(), std::uint8_t{0});
    storeFree(page);
}

bool allSlotsDead(PageView page)
{
    const unsigned count = slotsOf(page);
    for (unsigned k = 0; k < count; ++k) {
        const std::uint16_t raw = getU16(page.data() + rowPageHeader + 2 * k);
        if ((raw & (pointerFlag | hiddenFlag)) != (pointerFlag | hiddenFlag)) return false;
    }
    return true;
}

} // namespace jet
