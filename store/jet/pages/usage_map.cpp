#include "store/jet/pages/usage_map.h"

#include "store/jet/format/doors.h"
#include "store/jet/format/row_page_layout.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <optional>
#include <string>

namespace jet {

namespace {

namespace at = usage_map_layout;
namespace row_page = row_page_layout;

constexpr PageNo firstAllocatable = 2; ///< header and page 1 are never free
/// A free map may have gaps past the end of the file: batches of 32 pages reserved and never written. A larger one is
/// damage, and filling it would make a giant of the file.
constexpr PageCount largestGap = 1024;

[[noreturn]] void damaged(MapRef map, const std::string& what)
{
    throw Error(Fault::damaged, "Sayfa haritası hasarlı (sayfa " + std::to_string(map.page.number()) + ", yuva " +
                                    std::to_string(map.slot.number()) + "): " + what + "; dosyayı denetleyin.");
}

/// Where a map's row lies in its page.
struct Place {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::size_t end() const { return offset + length; }
};

Place placeOf(PageView page, MapRef map)
{
    if (!isPageOf(page, PageType::row)) damaged(map, "sayfa bir satır sayfası değil");
    const std::size_t slots = row_page::slotCount.get(page);
    if (map.slot >= SlotNo(slots) || row_page::slotsEnd(slots) > pageSize) damaged(map, "böyle bir yuva yok");
    const auto slot = [&](SlotNo i) { return getU16(&page[row_page::slotAt(i)]); };
    const std::size_t offset = slot(map.slot);
    const std::size_t end = map.slot == 0 ? pageSize : slot(SlotNo(map.slot.number() - 1U)) & row_page::offsetMask;
    if (offset > row_page::offsetMask) damaged(map, "yuva silinmiş");
    if (offset < row_page::slotsEnd(slots) || offset > end || end > pageSize) damaged(map, "satırın yeri bozuk");
    return {offset, end - offset};
}

enum class Kind : std::uint8_t { inlined = at::inlineKind, reference = at::referenceKind };

/// A map's row, read and checked. A view of the page: valid until the row moves.
struct Row {
    MapRef ref;
    Kind kind{};
    std::span<const std::uint8_t> bytes;

    PageNo start() const { return at::firstPage.get(bytes); }
    std::span<const std::uint8_t> bitmap() const { return bytes.subspan(at::inlineBits); }
    PageCount capacity() const { return static_cast<PageCount>(bitmap().size() * 8); }
    bool covers(PageNo page) const { return page >= start() && page - start() < capacity(); }
    std::size_t entries() const { return std::min((bytes.size() - at::entries) / at::entryBytes, at::mostEntries); }
    PageNo entry(std::size_t k) const { return PageNo(getU32(&bytes[at::entryAt(k)])); }
};

Row rowOf(Pager& pager, MapRef map)
{
    const PageView page = pager.read(map.page);
    const Place place = placeOf(page, map);
    Row row{map, {}, page.subspan(place.offset, place.length)};
    if (row.bytes.empty()) damaged(map, "satır boş");
    const std::uint8_t kind = at::kind.get(row.bytes);
    if (kind > at::referenceKind) damaged(map, "türü bilinmiyor");
    row.kind = static_cast<Kind>(kind);
    if (row.kind == Kind::inlined && row.bytes.size() < at::inlineBits) damaged(map, "satır kısa");
    if (row.kind == Kind::inlined && row.start() >= PageNo(maxPages)) damaged(map, "ilk sayfası dosyanın çok dışında");
    return row;
}

std::span<std::uint8_t> writableRow(Pager& pager, MapRef map)
{
    const Place place = placeOf(pager.read(map.page), map);
    return pager.write(map.page).subspan(place.offset, place.length);
}

/// The bitmap page of an entry, checked; entries below `k` have been checked before.
PageView bitmapPage(Pager& pager, const Row& row, std::size_t k)
{
    const PageNo number = row.entry(k);
    for (std::size_t i = 0; i < k; ++i)
        if (row.entry(i) == number) damaged(row.ref, "aynı bit sayfası iki kez geçiyor");
    if (!pager.has(number)) damaged(row.ref, "olmayan bir bit sayfasına başvuruyor");
    const PageView page = pager.read(number);
    if (!isPageOf(page, PageType::usageBitmap))
        damaged(row.ref, std::to_string(number.number()) + ". sayfa bit sayfası değil");
    return page;
}

/// In a reference map: which page of bits tells of the page, and which bit of it.
std::size_t bitmapOf(PageNo page) { return page.number() / at::pagesPerBitmap; }
std::uint32_t bitOf(PageNo page) { return page.number() % at::pagesPerBitmap; }

bool bitAt(std::span<const std::uint8_t> bitmap, std::uint32_t bit) { return (bitmap[bit / 8] >> bit % 8 & 1) != 0; }

void putBit(std::span<std::uint8_t> bitmap, std::uint32_t bit, bool on)
{
    const auto mask = static_cast<std::uint8_t>(1U << bit % 8);
    if (on)
        bitmap[bit / 8] = static_cast<std::uint8_t>(bitmap[bit / 8] | mask);
    else
        bitmap[bit / 8] = static_cast<std::uint8_t>(bitmap[bit / 8] & ~mask);
}

/// The first set bit at or after `from`; the bitmap's size in bits when there is none.
std::uint32_t nextBit(std::span<const std::uint8_t> bitmap, std::uint32_t from)
{
    const auto bits = static_cast<std::uint32_t>(bitmap.size() * 8);
    if (from >= bits) return bits;
    std::size_t byte = from / 8;
    auto current = static_cast<std::uint8_t>(bitmap[byte] & (0xFFU << from % 8));
    while (current == 0) {
        ++byte;
        while (byte + 8 <= bitmap.size() && getU64(&bitmap[byte]) == 0) byte += 8;
        if (byte >= bitmap.size()) return bits;
        current = bitmap[byte];
    }
    return static_cast<std::uint32_t>(byte * 8) + static_cast<std::uint32_t>(std::countr_zero(current));
}

/// Calls visit(page) for every set bit in ascending order until it returns false.
template <class Visit> void forEachSet(Pager& pager, const Row& row, Visit&& visit)
{
    const auto walk = [&](std::span<const std::uint8_t> bitmap, std::uint64_t first) {
        const auto bits = static_cast<std::uint32_t>(bitmap.size() * 8);
        for (std::uint32_t bit = nextBit(bitmap, 0); bit < bits; bit = nextBit(bitmap, bit + 1)) {
            if (first + bit >= maxPages || !visit(static_cast<PageNo>(first + bit))) return false;
        }
        return true;
    };
    if (row.kind == Kind::inlined) {
        walk(row.bitmap(), row.start().number());
        return;
    }
    for (std::size_t k = 0; k < row.entries(); ++k)
        if (row.entry(k) != 0 &&
            !walk(bitmapPage(pager, row, k).subspan(at::pageBits), std::uint64_t{k} * at::pagesPerBitmap))
            return;
}

/// Makes `page` an empty bitmap page.
std::span<std::uint8_t> initBitmap(Pager& pager, PageNo page)
{
    const PageBytes bytes = pager.write(page);
    std::memset(bytes.data(), 0, pageSize);
    stampPage(bytes, PageType::usageBitmap);
    return bytes.subspan(at::pageBits);
}

/// The place of entry k in a reference map's row, for a page number that it can hold.
void setEntry(Pager& pager, MapRef map, std::size_t k, PageNo bitmap)
{
    const auto row = writableRow(pager, map);
    if (at::entryAt(k + 1) > row.size()) damaged(map, "satır bu kadar sayfa için kısa");
    putU32(&row[at::entryAt(k)], bitmap.number());
}

/// Lengthens a map's row by `extra` zero bytes where its page has room: lower rows move down.
bool lengthen(Pager& pager, MapRef map, std::size_t extra)
{
    const PageView before = pager.read(map.page);
    const Place place = placeOf(before, map);
    const std::size_t slots = row_page::slotCount.get(before);
    std::size_t lowest = place.offset;
    for (SlotNo i = map.slot; i < SlotNo(slots); ++i) {
        const std::size_t offset = getU16(&before[row_page::slotAt(i)]) & row_page::offsetMask;
        if (offset > lowest || offset < row_page::slotsEnd(slots)) damaged(map, "sayfanın yuvaları bozuk");
        lowest = offset;
    }
    const std::size_t tableEnd = row_page::slotsEnd(slots);
    if (lowest - tableEnd < extra) return false;
    const PageBytes page = pager.write(map.page);
    std::memmove(&page[lowest - extra], &page[lowest], place.end() - lowest);
    std::memset(&page[place.end() - extra], 0, extra);
    for (SlotNo i = map.slot; i < SlotNo(slots); ++i) {
        std::uint8_t* const slot = &page[row_page::slotAt(i)];
        putU16(slot, getU16(slot) - static_cast<std::uint32_t>(extra));
    }
    row_page::freeBytes.put(page, static_cast<std::uint32_t>(lowest - extra - tableEnd));
    return true;
}

// ---- the free map ----

/// The lowest free page at or after `from`; nothing when the map has none.
std::optional<PageNo> firstFree(Pager& pager, const Row& row, PageNo from)
{
    if (row.kind == Kind::inlined) {
        const PageNo start = row.start();
        const std::uint32_t bit = nextBit(row.bitmap(), from > start ? from - start : 0);
        if (bit < row.capacity()) return start + bit;
        return {};
    }
    for (std::size_t k = from.number() / at::pagesPerBitmap; k < row.entries(); ++k) {
        const auto first = static_cast<std::uint64_t>(k) * at::pagesPerBitmap;
        if (first >= maxPages) break;
        if (row.entry(k) == 0) continue;
        const std::uint32_t bit =
            nextBit(bitmapPage(pager, row, k).subspan(at::pageBits), from > PageNo(first) ? from - PageNo(first) : 0);
        if (bit < at::pagesPerBitmap) return static_cast<PageNo>(first + bit);
    }
    return {};
}

/// Adds a bitmap page for range k to the free map, all pages past the end of the file free. The bitmap stands on
/// `page`, which is in nobody's use.
std::span<std::uint8_t> addFreeBitmap(Pager& pager, std::size_t k, PageNo page)
{
    pager.extendTo((page + 1).number());
    const auto bitmap = initBitmap(pager, page);
    const PageNo first(k * at::pagesPerBitmap);
    for (std::uint32_t bit = 0; bit < at::pagesPerBitmap; ++bit)
        if (!pager.has(first + bit)) putBit(bitmap, bit, true);
    setEntry(pager, freeMap, k, page);
    return bitmap;
}

/// As mapSet, for pages that stood in the map already: what a file says there is not asserted.
void setBit(Pager& pager, MapRef map, PageNo page)
{
    const Row row = rowOf(pager, map);
    if (row.kind == Kind::inlined) {
        if (row.covers(page)) {
            putBit(writableRow(pager, map).subspan(at::inlineBits), page - row.start(), true);
            return;
        }
        auto pages = mapPages(pager, map);
        pages.push_back(page);
        const auto [least, most] = std::minmax_element(pages.begin(), pages.end());
        const PageNo start(least->number() / at::firstPageStep * at::firstPageStep);
        const bool fits = *most - start < row.capacity();
        const auto bytes = writableRow(pager, map);
        std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
        if (fits) {
            at::firstPage.put(bytes, start);
            for (const PageNo one : pages) putBit(bytes.subspan(at::inlineBits), one - start, true);
            return;
        }
        at::kind.put(bytes, at::referenceKind);
        for (const PageNo one : pages) setBit(pager, map, one);
        return;
    }
    const std::size_t k = bitmapOf(page);
    if (k >= row.entries()) damaged(map, "satır bu kadar sayfa için kısa");
    if (row.entry(k) == 0) {
        const PageNo bitmap = allocatePage(pager);
        initBitmap(pager, bitmap);
        setEntry(pager, map, k, bitmap);
    }
    bitmapPage(pager, rowOf(pager, map), k);
    putBit(pager.write(rowOf(pager, map).entry(k)).subspan(at::pageBits), bitOf(page), true);
}

/// Turns the inline free map into a reference map. What it knew as free stays so.
void convertFreeMap(Pager& pager)
{
    const std::vector<PageNo> free = mapPages(pager, freeMap);
    const std::size_t ranges = (pager.pageCount() - 1) / at::pagesPerBitmap + 1;
    const auto row = writableRow(pager, freeMap);
    std::fill(row.begin(), row.end(), std::uint8_t{0});
    at::kind.put(row, at::referenceKind);
    for (std::size_t k = 0; k < ranges; ++k) addFreeBitmap(pager, k, PageNo(pager.pageCount()));
    for (const PageNo page : free) setBit(pager, freeMap, page);
    pager.setFreeSearchStart(0);
}

/// Makes the free map cover more pages past its end, or past the end of the file. One step.
void growFreeMap(Pager& pager)
{
    const Row row = rowOf(pager, freeMap);
    const PageNo next(pager.pageCount());
    if (row.kind == Kind::inlined) {
        const PageNo start = row.start();
        const PageNo first = start + row.capacity();
        if (first >= PageNo(maxPages) || !lengthen(pager, freeMap, at::growthStep)) {
            convertFreeMap(pager);
            return;
        }
        // Pages of the file that the map did not cover are in somebody's use.
        const auto bitmap = writableRow(pager, freeMap).subspan(at::inlineBits);
        for (PageNo page = std::max(first, next); page < first + at::growthStep * 8; ++page)
            putBit(bitmap, page - start, true);
        return;
    }
    const std::size_t k = bitmapOf(next);
    if (k >= row.entries() || row.entry(k) == 0) {
        addFreeBitmap(pager, k, next);
        return;
    }
    // Pages that another program reserved past the end of the file and never wrote.
    bitmapPage(pager, row, k);
    const auto bitmap = pager.write(row.entry(k)).subspan(at::pageBits);
    for (std::uint32_t bit = bitOf(next); bit < at::pagesPerBitmap; ++bit) putBit(bitmap, bit, true);
}

} // namespace

std::vector<PageNo> mapPages(Pager& pager, MapRef map)
{
    std::vector<PageNo> pages;
    forEachSet(pager, rowOf(pager, map), [&](PageNo page) {
        if (!pager.has(page)) return false;
        pages.push_back(page);
        return true;
    });
    return pages;
}

bool mapLeadsPastTheEnd(Pager& pager, MapRef map)
{
    constexpr PageCount farEnough = 32768;
    const PageCount begin = pager.pageCount();
    const PageCount end = std::min(maxPages, begin + farEnough);
    const Row row = rowOf(pager, map);
    // `first` is the page of the first bit.
    const auto hasBit = [&](std::span<const std::uint8_t> bitmap, std::uint64_t first) {
        const std::uint32_t bit = nextBit(bitmap, begin > first ? static_cast<PageCount>(begin - first) : 0);
        return bit < bitmap.size() * 8 && first + bit < end;
    };
    if (row.kind == Kind::inlined) return hasBit(row.bitmap(), row.start().number());
    for (std::size_t k = begin / at::pagesPerBitmap; k < row.entries() && k * at::pagesPerBitmap < end; ++k)
        if (row.entry(k) != 0 &&
            hasBit(bitmapPage(pager, row, k).subspan(at::pageBits), std::uint64_t{k} * at::pagesPerBitmap))
            return true;
    return false;
}

std::vector<PageNo> mapBitmapPages(Pager& pager, MapRef map)
{
    std::vector<PageNo> pages;
    const Row row = rowOf(pager, map);
    if (row.kind == Kind::inlined) return pages;
    for (std::size_t k = 0; k < row.entries(); ++k) {
        if (row.entry(k) == 0) continue;
        bitmapPage(pager, row, k);
        pages.push_back(row.entry(k));
    }
    return pages;
}

bool mapHas(Pager& pager, MapRef map, PageNo page)
{
    const Row row = rowOf(pager, map);
    if (row.kind == Kind::inlined) return row.covers(page) && bitAt(row.bitmap(), page - row.start());
    const std::size_t k = bitmapOf(page);
    if (k >= row.entries() || row.entry(k) == 0) return false;
    return bitAt(bitmapPage(pager, row, k).subspan(at::pageBits), bitOf(page));
}

void mapSet(Pager& pager, MapRef map, PageNo page)
{
    assert(page != 0 && pager.has(page));
    setBit(pager, map, page);
}

void mapClear(Pager& pager, MapRef map, PageNo page)
{
    if (!mapHas(pager, map, page)) return;
    const Row row = rowOf(pager, map);
    if (row.kind == Kind::inlined)
        putBit(writableRow(pager, map).subspan(at::inlineBits), page - row.start(), false);
    else
        putBit(pager.write(row.entry(bitmapOf(page))).subspan(at::pageBits), bitOf(page), false);
}

PageNo allocatePage(Pager& pager)
{
    for (;;) {
        const auto found = firstFree(pager, rowOf(pager, freeMap), pager.freeSearchStart());
        if (!found) {
            growFreeMap(pager);
            continue;
        }
        if (*found < firstAllocatable || *found > PageNo(pager.pageCount()) + largestGap)
            damaged(freeMap, std::to_string(found->number()) + ". sayfa boş görünüyor");
        pager.extendTo((*found + 1).number());
        mapClear(pager, freeMap, *found);
        pager.setFreeSearchStart(*found + 1);
        std::memset(pager.write(*found).data(), 0, pageSize);
        return *found;
    }
}

void freePage(Pager& pager, PageNo page, PageType tombstone)
{
    if (page < firstAllocatable || mapHas(pager, freeMap, page))
        damaged(freeMap, std::to_string(page.number()) + ". sayfa ikinci kez boşaltılıyor");
    const PageBytes bytes = pager.write(page);
    if (tombstone == PageType::blank)
        std::memset(bytes.data(), 0, page_layout::head);
    else
        page_layout::type.put(bytes, static_cast<std::uint8_t>(tombstone));

    // A map that another program based higher, or never lengthened, has no bit for the page.
    for (;;) {
        const Row row = rowOf(pager, freeMap);
        if (row.kind == Kind::reference || row.covers(page)) break;
        if (page < row.start())
            convertFreeMap(pager);
        else
            growFreeMap(pager);
    }
    const Row row = rowOf(pager, freeMap);
    if (row.kind == Kind::reference && (bitmapOf(page) >= row.entries() || row.entry(bitmapOf(page)) == 0)) {
        // Nothing is known of its range: the page becomes the range's bitmap instead, which needs no further page.
        addFreeBitmap(pager, bitmapOf(page), page);
        return;
    }
    mapSet(pager, freeMap, page);
    pager.setFreeSearchStart(std::min(pager.freeSearchStart(), page));
}

} // namespace jet
