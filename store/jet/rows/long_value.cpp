#include "store/jet/rows/long_value.h"

#include "store/jet/format/row_page_layout.h"
#include "store/jet/pages/damage.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/field_codec.h"

#include <algorithm>
#include <cassert>
#include <set>
#include <vector>

namespace jet {
namespace {

namespace at = long_value_layout;
using row_page_layout::longValueOwner;

/// A page with less room than this is not worth finding again.
constexpr std::size_t worthListing = pageSize / 8;

enum class Kind : unsigned { chain = at::chainKind, onePage = at::onePageKind, inRow = at::inRowKind, unknown };

struct Reference {
    std::size_t length = 0;
    Kind kind = Kind::inRow;
    RowId first;
};

Reference readReference(const Pager& pager, std::span<const std::uint8_t> bytes)
{
    if (bytes.empty()) return {};
    if (bytes.size() < at::reference) throwDamaged(pager, 0, "bir uzun alanın başvurusu kısa");
    const std::uint32_t head = at::lengthAndKind.get(bytes);
    return {head & at::lengthMask, static_cast<Kind>(head >> at::kindShift), at::place.get(bytes)};
}

/// Reads the pieces of values. A piece is good until the next one is read.
class Pieces {
public:
    /// Pages go through `passing`; where there is none they stay in memory, but for values of that length that would
    /// crowd others out.
    Pieces(Pager& pager, PassingBuffer* passing, std::size_t length)
        : pager_(pager), passing_(passing != nullptr || length < crowding ? passing : &own_)
    {
    }

    std::span<const std::uint8_t> at(RowId place)
    {
        if (place.page == 0 || !pager_.has(place.page)) {
            throwDamaged(pager_, place.page, "bir uzun alan olmayan bir sayfayı gösteriyor");
        }
        const PageView page = passing_ != nullptr ? pager_.look(place.page, *passing_) : pager_.read(place.page);
        if (!isRowPage(page, longValueOwner)) throwDamaged(pager_, place.page, "uzun alan sayfası değil");
        const auto slot = slotAt(page, place.slot);
        if (!slot || !slot->live()) throwDamaged(pager_, place.page, "bir uzun alanın satırı yok");
        return slotBytes(page, *slot);
    }

private:
    static constexpr std::size_t crowding = 256 * pageSize;

    Pager& pager_;
    PassingBuffer own_;
    PassingBuffer* passing_;
};

/// Visits the pieces of a chain; each gets the piece's place and data. No piece comes twice.
template <class Visit> void walkChain(Pager& pager, const Reference& reference, PassingBuffer* passing, Visit&& visit)
{
    Pieces pieces(pager, passing, reference.length);
    std::set<RowId> seen;
    RowId place = reference.first;
    std::size_t delivered = 0;
    while (delivered < reference.length && place.page != 0) {
        const std::span<const std::uint8_t> piece = pieces.at(place);
        if (piece.size() <= at::piece) throwDamaged(pager, place.page, "bir uzun alanın parçası boş");
        if (!seen.insert(place).second) throwDamaged(pager, place.page, "bir uzun alan kendine dönüyor");
        const RowId next = at::nextPiece.get(piece);
        visit(place, piece.subspan(at::piece));
        delivered += piece.size() - at::piece;
        place = next;
    }
    if (delivered < reference.length) throwDamaged(pager, reference.first.page, "bir uzun alan yarım kalmış");
}

/// Where each piece stands, all checked before any of them is touched.
std::vector<RowId> placesOf(Pager& pager, const Reference& reference, PassingBuffer* passing)
{
    std::vector<RowId> places;
    if (reference.kind == Kind::onePage) {
        Pieces(pager, passing, reference.length).at(reference.first);
        places.push_back(reference.first);
    } else if (reference.kind == Kind::chain) {
        walkChain(pager, reference, passing, [&](RowId place, auto) { places.push_back(place); });
    }
    return places;
}

void freeLongValuePage(Pager& pager, MapRef owned, MapRef freeSpace, PageNo page)
{
    if (!owned.none()) mapClear(pager, owned, page);
    if (!freeSpace.none()) mapClear(pager, freeSpace, page);
    freePage(pager, page, PageType::emptiedRow);
}

/// A page of the column with room for the value.
PageNo pageWithRoom(Pager& pager, MapRef owned, MapRef freeSpace, std::size_t length)
{
    const std::vector<PageNo> candidates = mapPages(pager, freeSpace);
    for (auto page = candidates.rbegin(); page != candidates.rend(); ++page) {
        const PageView view = pager.read(*page);
        if (isRowPage(view, longValueOwner) && slotsInOrder(view) && roomForRow(view) >= length) return *page;
        mapClear(pager, freeSpace, *page);
    }
    const PageNo page = allocatePage(pager);
    initRowPage(pager.write(page), longValueOwner);
    mapSet(pager, owned, page);
    mapSet(pager, freeSpace, page);
    return page;
}

RowId writeOnePage(Pager& pager, MapRef owned, MapRef freeSpace, std::span<const std::uint8_t> data)
{
    const PageNo page = pageWithRoom(pager, owned, freeSpace, data.size());
    return {page, appendRow(pager.write(page), data, RowKind::ordinary)};
}

/// Each piece gets a page of its own, which takes nothing else: neither is it listed among those with room.
RowId writeChain(Pager& pager, MapRef owned, std::span<const std::uint8_t> data)
{
    std::vector<PageNo> pages((data.size() + at::longestPiece - 1) / at::longestPiece);
    for (PageNo& page : pages) {
        page = allocatePage(pager);
        mapSet(pager, owned, page);
    }
    Bytes piece;
    for (std::size_t i = 0; i < pages.size(); ++i, data = data.subspan(std::min(at::longestPiece, data.size()))) {
        piece.assign(at::piece, 0);
        if (i + 1 < pages.size()) at::nextPiece.put(piece, RowId{pages[i + 1], 0});
        const auto part = data.first(std::min(at::longestPiece, data.size()));
        piece.insert(piece.end(), part.begin(), part.end());
        const PageBytes page = pager.write(pages[i]);
        initRowPage(page, longValueOwner);
        appendRow(page, piece, RowKind::ordinary);
    }
    return {pages.front(), 0};
}

Bytes emptyField(Kind kind, std::size_t length)
{
    Bytes field(at::reference, 0);
    at::lengthAndKind.put(field, static_cast<std::uint32_t>(length) | static_cast<std::uint32_t>(kind)
                                                                          << at::kindShift);
    return field;
}

} // namespace

Bytes readLongValue(Pager& pager, std::span<const std::uint8_t> bytes, PassingBuffer* passing)
{
    const Reference place = readReference(pager, bytes);
    Bytes data;
    switch (place.kind) {
    case Kind::inRow: {
        if (bytes.empty()) return data;
        const std::span<const std::uint8_t> rest = bytes.subspan(at::reference);
        if (place.length > rest.size()) throwDamaged(pager, 0, "bir uzun alan satırından uzun");
        data.assign(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(place.length));
        break;
    }
    case Kind::onePage: {
        Pieces pieces(pager, passing, place.length);
        const std::span<const std::uint8_t> piece = pieces.at(place.first);
        if (place.length > piece.size()) {
            throwDamaged(pager, place.first.page, "bir uzun alan yarım kalmış");
        }
        data.assign(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(place.length));
        break;
    }
    case Kind::chain:
        // No file delivers more than its own length: what a reference says of its value's is only a promise.
        data.reserve(std::min(place.length + pageSize, std::size_t{pager.pageCount()} * pageSize));
        walkChain(pager, place, passing, [&](RowId, std::span<const std::uint8_t> piece) {
            data.insert(data.end(), piece.begin(), piece.end());
        });
        data.resize(place.length);
        break;
    case Kind::unknown:
        throwDamaged(pager, place.first.page, "bir uzun alanın türü bilinmiyor");
    }
    return data;
}

Value fieldValue(Pager& pager, const RowLayout& layout, std::size_t column, std::span<const std::uint8_t> row,
                 PassingBuffer* passing)
{
    const FieldPlace& place = layout.fields[column];
    const auto bytes = fieldBytes(layout, column, row);
    if (!bytes) return place.type == ColumnType::boolean ? Value(false) : Value();
    if (!isLongValue(place.type)) return decodeValue(place.type, place.scale, *bytes);
    Bytes data = readLongValue(pager, *bytes, passing);
    if (place.type == ColumnType::ole) return data;
    return decodeValue(place.type, place.scale, data);
}

std::vector<RowId> longValuePlaces(Pager& pager, std::span<const std::uint8_t> reference, PassingBuffer* passing)
{
    return placesOf(pager, readReference(pager, reference), passing);
}

Bytes longValueInRow(std::span<const std::uint8_t> data)
{
    assert(data.size() <= at::longestInRow);
    Bytes field = emptyField(Kind::inRow, data.size());
    field.insert(field.end(), data.begin(), data.end());
    return field;
}

Bytes writeLongValue(Pager& pager, MapRef owned, MapRef freeSpace, std::span<const std::uint8_t> data)
{
    assert(data.size() <= at::longest && !owned.none() && !freeSpace.none());
    Bytes field = emptyField(data.size() > at::longestOnePage ? Kind::chain : Kind::onePage, data.size());
    at::place.put(field, data.size() > at::longestOnePage ? writeChain(pager, owned, data)
                                                          : writeOnePage(pager, owned, freeSpace, data));
    return field;
}

void eraseLongValue(Pager& pager, MapRef owned, MapRef freeSpace, std::span<const std::uint8_t> bytes)
{
    for (const RowId place : placesOf(pager, readReference(pager, bytes), nullptr)) {
        if (!owned.none() && !mapHas(pager, owned, place.page))
            throwDamaged(pager, place.page, "bir uzun alan başkasının sayfasını gösteriyor");
        if (!slotsInOrder(pager.read(place.page))) throwDamaged(pager, place.page, "satırlar sayfaya sığmıyor");
        const PageBytes page = pager.write(place.page);
        killSlot(page, place.slot);
        if (allSlotsDead(page))
            freeLongValuePage(pager, owned, freeSpace, place.page);
        else if (!freeSpace.none() && roomForRow(page) >= worthListing && !mapHas(pager, freeSpace, place.page))
            mapSet(pager, freeSpace, place.page);
    }
}

void eraseAllLongValues(Pager& pager, MapRef owned, MapRef freeSpace)
{
    if (owned.none()) return;
    for (const PageNo page : mapPages(pager, owned)) {
        const PageView view = pager.read(page);
        if (isRowPage(view, longValueOwner) && slotsInOrder(view)) killAllSlots(pager.write(page));
        freeLongValuePage(pager, owned, freeSpace, page);
    }
}

} // namespace jet
