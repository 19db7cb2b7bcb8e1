#include "store/jet/rows/table_definition.h"

#include "store/jet/pages/damage.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <set>

namespace jet {
namespace {

constexpr std::size_t pageOwnBytes = 8;
constexpr std::size_t fixedPart = 63;
constexpr std::size_t statisticsRecord = 12;
constexpr std::size_t columnRecord = 25;
constexpr std::size_t physicalRecord = 52;
constexpr std::size_t logicalRecord = 28;
constexpr std::uint32_t definitionMagic = 0x659;
constexpr std::size_t mostColumns = 255;
constexpr std::size_t mostIndexes = 255;
constexpr std::size_t longestName = 128; ///< bytes
constexpr std::size_t longestChain = 64; ///< pages; the greatest definition needs fewer
constexpr std::uint16_t noColumn = 0xFFFF;
constexpr std::uint8_t relationshipKind = 2;

namespace columnFlag {
constexpr unsigned fixed = 0x01;
constexpr unsigned autoNumber = 0x04;
constexpr unsigned compressible = 0x01; ///< among the extended flags
} // namespace columnFlag

namespace indexFlag {
constexpr unsigned unique = 0x01;
constexpr unsigned ignoreNulls = 0x02;
constexpr unsigned required = 0x08;
} // namespace indexFlag

/// Reads a definition's bytes in order; throws damaged at their end.
class Reader {
public:
    Reader(const Pager& pager, PageNo page, std::span<const std::uint8_t> bytes)
        : pager_(pager), page_(page), bytes_(bytes)
    {
    }

    const std::uint8_t* take(std::size_t count)
    {
        if (count > bytes_.size() - at_) fail("tablo tanımı kendi uzunluğunu aşıyor");
        at_ += count;
        return bytes_.data() + at_ - count;
    }
    std::uint16_t u16() { return getU16(take(2)); }
    std::u16string name()
    {
        const std::size_t length = u16();
        if (length % 2 != 0 || length > longestName) fail("tablo tanımında bozuk bir ad var");
        return utf16Text({take(length), length});
    }
    std::size_t position() const { return at_; }
    std::size_t left() const { return bytes_.size() - at_; }
    [[noreturn]] void fail(std::string_view what) const { throwDamaged(pager_, page_, what); }

private:
    const Pager& pager_;
    PageNo page_;
    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
};

void checkPage(const Pager& pager, PageNo page)
{
    if (page < pager.pageCount()) return;
    throw Error(Fault::cutShort, files::quotedPath(pager.path()) + " dosyası eksik: dosyada " + std::to_string(page) +
                                     " numaralı sayfa olmalı, ama dosya " + std::to_string(pager.pageCount()) +
                                     " sayfada bitiyor. Dosyanın tam bir kopyasını kullanın.");
}

MapRef mapRef(const std::uint8_t* p) { return {p[0], getU24(p + 1)}; }

void putMapRef(std::uint8_t* p, MapRef map)
{
    p[0] = map.slot;
    putU24(p + 1, map.page);
}

/// A map that the table cannot be read without.
void checkTableMap(Pager& pager, const Reader& reader, MapRef map)
{
    checkPage(pager, map.page);
    const PageView page = pager.read(map.page);
    const auto slot = slotAt(page, map.slot);
    if (map.none() || page[0] != static_cast<std::uint8_t>(PageType::row) || !slot || slot->dead()) {
        reader.fail("tablonun sayfa haritası yerinde değil");
    }
}

Column readColumn(const Reader& reader, const std::uint8_t* p, std::uint16_t columnsEver, std::uint16_t variableEver)
{
    Column column;
    column.type = static_cast<ColumnType>(p[0]);
    column.id = getU16(p + 5);
    column.variableIndex = getU16(p + 7);
    column.ordinal = getU16(p + 9);
    if (column.type == ColumnType::numeric) {
        column.precision = p[11];
        column.scale = p[12];
    } else if (column.type == ColumnType::text || column.type == ColumnType::memo) {
        column.collation = {getU16(p + 11), p[14]};
    }
    column.fixed = (p[15] & columnFlag::fixed) != 0;
    column.autoNumber = (p[15] & columnFlag::autoNumber) != 0 && column.type == ColumnType::longInteger;
    column.compressible = (p[16] & columnFlag::compressible) != 0;
    column.fixedOffset = getU16(p + 21);
    column.length = getU16(p + 23);

    if (column.id >= columnsEver) reader.fail("bir sütunun numarası tablo tanımına uymuyor");
    if (column.fixed) {
        const std::size_t exact = exactLength(column.type);
        const bool halfCharacter = column.type == ColumnType::text && column.length % 2 != 0;
        if (isLongValue(column.type) || halfCharacter || (exact != 0 && column.length != exact))
            reader.fail("bir sütunun uzunluğu türüne uymuyor");
        if (column.type != ColumnType::boolean && column.fixedOffset + column.length > static_cast<int>(maxRowLength)) {
            reader.fail("bir sütun satıra sığmıyor");
        }
    } else if (column.type != ColumnType::boolean && column.variableIndex >= variableEver) {
        reader.fail("bir sütunun satırdaki yeri tablo tanımına uymuyor");
    }
    return column;
}

void checkColumns(const Reader& reader, const std::vector<Column>& columns)
{
    std::set<std::uint16_t> ids;
    std::set<std::uint16_t> variables;
    for (const Column& column : columns) {
        if (!ids.insert(column.id).second) reader.fail("iki sütun aynı numarayı taşıyor");
        const bool variable = !column.fixed && column.type != ColumnType::boolean;
        if (variable && !variables.insert(column.variableIndex).second) {
            reader.fail("iki sütun satırda aynı yeri gösteriyor");
        }
    }
}

Index readPhysicalIndex(const Reader& reader, const std::uint8_t* p, const std::vector<Column>& columns)
{
    Index index;
    for (std::size_t k = 0; k < 10; ++k) {
        const std::uint16_t id = getU16(p + 4 + 3 * k);
        if (id == noColumn) continue;
        const auto column =
            std::find_if(columns.begin(), columns.end(), [id](const Column& each) { return each.id == id; });
        if (column == columns.end()) reader.fail("bir dizin olmayan bir sütunu gösteriyor");
        index.columns.push_back({static_cast<std::size_t>(column - columns.begin()), (p[6 + 3 * k] & 1) != 0});
    }
    if (index.columns.empty()) reader.fail("bir dizinin sütunu yok");
    index.ownedPages = mapRef(p + 34);
    index.root = getU32(p + 38);
    index.unique = (p[46] & indexFlag::unique) != 0;
    index.ignoreNulls = (p[46] & indexFlag::ignoreNulls) != 0;
    index.required = (p[46] & indexFlag::required) != 0;
    return index;
}

void putName(Bytes& out, std::u16string_view name)
{
    const std::size_t start = out.size();
    out.resize(start + 2);
    putU16(out.data() + start, static_cast<std::uint32_t>(name.size() * 2));
    appendUtf16(out, name);
}

/// Zero bytes at the end of `out` for one record.
std::uint8_t* addRecord(Bytes& out, std::size_t length)
{
    out.resize(out.size() + length, 0);
    return out.data() + out.size() - length;
}

unsigned columnFlags(const Column& column, bool system)
{
    unsigned flags = 0x02;
    if (column.fixed) flags |= columnFlag::fixed;
    if (column.autoNumber) flags |= columnFlag::autoNumber;
    if (system) flags |= 0x10;
    // The two columns that hold account numbers carry a mark of their own.
    if (system && (column.name == u"Owner" || column.name == u"SID")) flags |= 0x20;
    return flags;
}

void putColumn(std::uint8_t* p, const Column& column, std::size_t variablesBefore, bool system, Collation collation)
{
    p[0] = static_cast<std::uint8_t>(column.type);
    putU32(p + 1, definitionMagic);
    putU16(p + 5, column.id);
    putU16(p + 7, static_cast<std::uint32_t>(column.fixed ? variablesBefore : column.variableIndex));
    putU16(p + 9, column.ordinal);
    if (column.type == ColumnType::numeric) {
        p[11] = column.precision;
        p[12] = column.scale;
    } else {
        putU16(p + 11, collation.lcid);
        p[14] = collation.version;
    }
    p[15] = static_cast<std::uint8_t>(columnFlags(column, system));
    p[16] = column.compressible ? columnFlag::compressible : 0;
    putU16(p + 21, column.fixed ? column.fixedOffset : 0);
    putU16(p + 23, column.length);
}

void putPhysicalIndex(std::uint8_t* p, const Index& index, const std::vector<Column>& columns)
{
    putU32(p, 0x783);
    for (std::size_t k = 0; k < 10; ++k) {
        const bool used = k < index.columns.size();
        putU16(p + 4 + 3 * k, used ? columns[index.columns[k].column].id : noColumn);
        p[6 + 3 * k] = used && index.columns[k].ascending ? 1 : 0;
    }
    putMapRef(p + 34, index.ownedPages);
    putU32(p + 38, index.root);
    p[46] = static_cast<std::uint8_t>(0x80u | (index.unique ? indexFlag::unique : 0u) |
                                      (index.ignoreNulls ? indexFlag::ignoreNulls : 0u) |
                                      (index.required ? indexFlag::required : 0u));
}

void putLogicalIndex(std::uint8_t* p, const LogicalIndex& index)
{
    putU32(p, definitionMagic);
    putU32(p + 4, index.id);
    putU32(p + 8, static_cast<std::uint32_t>(index.physical));
    putU32(p + 13, 0xFFFFFFFF);
    p[21] = 4;
    p[22] = 4;
    p[23] = static_cast<std::uint8_t>(index.kind);
}

/// Columns' variable neighbours with a lower id.
std::size_t variablesBefore(const std::vector<Column>& columns, std::uint16_t id)
{
    return static_cast<std::size_t>(std::count_if(columns.begin(), columns.end(),
                                                  [id](const Column& each) { return !each.fixed && each.id < id; }));
}

} // namespace

RowLayout TableDefinition::layout() const
{
    RowLayout layout;
    layout.columnsEver = columnsEver;
    layout.variableEver = variableEver;
    for (const Column& column : columns) {
        FieldPlace place;
        place.type = column.type;
        place.fixed = column.fixed;
        place.scale = column.scale;
        place.id = column.id;
        place.variableIndex = column.variableIndex;
        if (column.fixed && column.type != ColumnType::boolean) {
            place.offset = static_cast<std::uint16_t>(2 + column.fixedOffset);
            place.length = column.length;
            layout.fixedEnd =
                std::max<std::uint16_t>(layout.fixedEnd, static_cast<std::uint16_t>(place.offset + place.length));
        }
        if (!column.fixed && !hasFreeLength(column.type)) layout.lengthChecked.push_back(layout.fields.size());
        layout.fields.push_back(place);
    }
    return layout;
}

const LongValueMaps* TableDefinition::longValuesOf(std::size_t column) const
{
    for (const LongValueMaps& maps : longValues) {
        if (maps.column == column) return maps.owned.none() ? nullptr : &maps;
    }
    return nullptr;
}

namespace {

/// Reads a part. What is damaged in it the receiver hears; where there is none, it ends the reading.
template <class Part> bool readPart(DefinitionPart name, const DefinitionReceiver& receiver, Part&& part)
{
    try {
        part();
        return true;
    } catch (const Error& error) {
        if (!receiver || (error.fault() != Fault::damaged && error.fault() != Fault::cutShort)) throw;
        receiver(name, error);
        return false;
    }
}

/// The chain's pages and its bytes joined.
struct DefinitionBytes {
    std::vector<PageNo> chain;
    Bytes bytes;
};

DefinitionBytes readDefinitionBytes(Pager& pager, PageNo page, const DefinitionReceiver& receiver = {})
{
    DefinitionBytes joined;
    const bool whole = readPart(DefinitionPart::pages, receiver, [&] {
        for (PageNo next = page; next != 0;) {
            checkPage(pager, next);
            const PageView view = pager.read(next);
            if (view[0] != static_cast<std::uint8_t>(PageType::tableDefinition) ||
                std::ranges::find(joined.chain, next) != joined.chain.end() || joined.chain.size() == longestChain)
                throwDamaged(pager, next, "tablo tanımının sayfa zinciri bozuk");
            joined.bytes.insert(joined.bytes.end(), view.begin() + (joined.chain.empty() ? 0 : pageOwnBytes),
                                view.end());
            joined.chain.push_back(next);
            next = getU32(view.data() + 4);
        }
    });
    if (joined.chain.empty()) throwDamaged(pager, page, "tablo tanımı değil");
    const std::size_t length = getU32(joined.bytes.data() + definitionField::length);
    if (length >= fixedPart && length <= joined.bytes.size())
        joined.bytes.resize(length);
    else if (whole)
        readPart(DefinitionPart::pages, receiver,
                 [&] { throwDamaged(pager, page, "tablo tanımının uzunluğu sayfalarına uymuyor"); });
    return joined;
}

/// The numbers at the head of a definition.
struct Counts {
    std::size_t columns = 0;
    std::size_t logical = 0;
    std::size_t physical = 0;
};

Counts readHead(Reader& reader, TableDefinition& table)
{
    const std::uint8_t* head = reader.take(fixedPart);
    table.system = head[40] == 0x53;
    table.columnsEver = getU16(head + 41);
    table.variableEver = getU16(head + 43);
    const Counts counts{getU16(head + 45), getU32(head + 47), getU32(head + 51)};
    if (counts.columns > mostColumns || counts.logical > mostIndexes || counts.physical > mostIndexes ||
        counts.columns > table.columnsEver || table.variableEver > table.columnsEver || counts.columns == 0) {
        reader.fail("tablo tanımındaki sayılar tutarsız");
    }
    table.owned = mapRef(head + 55);
    table.freeSpace = mapRef(head + 59);
    return counts;
}

void readColumns(Reader& reader, const Counts& counts, TableDefinition& table)
{
    reader.take(statisticsRecord * counts.physical);
    for (std::size_t i = 0; i < counts.columns; ++i) {
        table.columns.push_back(readColumn(reader, reader.take(columnRecord), table.columnsEver, table.variableEver));
    }
    for (Column& column : table.columns) column.name = reader.name();
    checkColumns(reader, table.columns);
    std::stable_sort(table.columns.begin(), table.columns.end(),
                     [](const Column& a, const Column& b) { return a.ordinal < b.ordinal; });
}

void readIndexes(Pager& pager, Reader& reader, const Counts& counts, TableDefinition& table)
{
    for (std::size_t i = 0; i < counts.physical; ++i) {
        Index index = readPhysicalIndex(reader, reader.take(physicalRecord), table.columns);
        checkPage(pager, index.root);
        checkPage(pager, index.ownedPages.page);
        index.number = i;
        table.indexes.push_back(std::move(index));
    }
    for (std::size_t i = 0; i < counts.logical; ++i) {
        const std::uint8_t* p = reader.take(logicalRecord);
        LogicalIndex logical;
        logical.id = getU32(p + 4);
        logical.physical = getU32(p + 8);
        if (logical.physical >= counts.physical || p[23] > relationshipKind) {
            reader.fail("bir dizin adı olmayan bir dizini gösteriyor");
        }
        logical.kind = static_cast<LogicalIndex::Kind>(p[23]);
        table.logicalIndexes.push_back(std::move(logical));
    }
    for (LogicalIndex& logical : table.logicalIndexes) {
        logical.name = reader.name();
        Index& index = table.indexes[logical.physical];
        index.names.push_back(logical.name);
        if (logical.kind == LogicalIndex::Kind::primaryKey) index.primaryKey = true;
        if (logical.kind == LogicalIndex::Kind::relationship) index.relationship = true;
    }
    for (std::uint16_t id = reader.u16(); id != noColumn; id = reader.u16()) {
        const std::uint8_t* p = reader.take(8);
        const auto column = std::find_if(table.columns.begin(), table.columns.end(),
                                         [id](const Column& each) { return each.id == id; });
        // Maps of a deleted column stay in the list; nothing refers to them any more.
        if (column == table.columns.end()) continue;
        const LongValueMaps maps{static_cast<std::size_t>(column - table.columns.begin()), mapRef(p), mapRef(p + 4)};
        checkPage(pager, maps.owned.page);
        checkPage(pager, maps.freeSpace.page);
        table.longValues.push_back(maps);
    }
    if (reader.left() != 0) reader.fail("tablo tanımının sonunda fazlalık var");
}

} // namespace

TableDefinition readTableDefinition(Pager& pager, PageNo page, const DefinitionReceiver& receiver)
{
    DefinitionBytes joined = readDefinitionBytes(pager, page, receiver);
    Reader reader(pager, page, joined.bytes);
    TableDefinition table;
    table.page = page;
    table.chain = std::move(joined.chain);
    const Counts counts = readHead(reader, table);
    readPart(DefinitionPart::maps, receiver, [&] {
        checkTableMap(pager, reader, table.owned);
        checkTableMap(pager, reader, table.freeSpace);
    });
    readColumns(reader, counts, table);
    if (!readPart(DefinitionPart::indexes, receiver, [&] { readIndexes(pager, reader, counts, table); })) {
        table.indexes.clear();
        table.logicalIndexes.clear();
        table.longValues.clear();
    }
    return table;
}

Bytes buildTableDefinition(const TableDefinition& table, Collation collation)
{
    Bytes out(fixedPart, 0);
    out[0] = static_cast<std::uint8_t>(PageType::tableDefinition);
    out[1] = 1;
    putU32(out.data() + 12, definitionMagic);
    putU32(out.data() + 24, 1);
    out[40] = table.system ? 0x53 : 0x4E;
    putU16(out.data() + 41, table.columnsEver);
    putU16(out.data() + 43, table.variableEver);
    putU16(out.data() + 45, static_cast<std::uint32_t>(table.columns.size()));
    putU32(out.data() + 47, static_cast<std::uint32_t>(table.logicalIndexes.size()));
    putU32(out.data() + 51, static_cast<std::uint32_t>(table.indexes.size()));
    putMapRef(out.data() + 55, table.owned);
    putMapRef(out.data() + 59, table.freeSpace);

    addRecord(out, statisticsRecord * table.indexes.size());
    for (const Column& column : table.columns) {
        putColumn(addRecord(out, columnRecord), column, variablesBefore(table.columns, column.id), table.system,
                  collation);
    }
    for (const Column& column : table.columns) putName(out, column.name);
    for (const Index& index : table.indexes) putPhysicalIndex(addRecord(out, physicalRecord), index, table.columns);
    for (const LogicalIndex& index : table.logicalIndexes) putLogicalIndex(addRecord(out, logicalRecord), index);
    for (const LogicalIndex& index : table.logicalIndexes) putName(out, index.name);
    for (const LongValueMaps& maps : table.longValues) {
        std::uint8_t* p = addRecord(out, 10);
        putU16(p, table.columns[maps.column].id);
        putMapRef(p + 2, maps.owned);
        putMapRef(p + 6, maps.freeSpace);
    }
    putU16(addRecord(out, 2), noColumn);
    putU32(out.data() + definitionField::length, static_cast<std::uint32_t>(out.size()));
    return out;
}

std::size_t definitionPages(std::size_t length)
{
    if (length <= pageSize) return 1;
    constexpr std::size_t perPage = pageSize - pageOwnBytes;
    return 1 + (length - pageSize + perPage - 1) / perPage;
}

void writeDefinitionBytes(Pager& pager, const std::vector<PageNo>& chain, const Bytes& bytes)
{
    std::size_t at = 0;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const PageBytes page = pager.write(chain[i]);
        const std::size_t start = i == 0 ? 0 : pageOwnBytes;
        const std::size_t count = std::min(pageSize - start, bytes.size() - at);
        std::fill(page.begin(), page.end(), std::uint8_t{0});
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, page.begin() + start);
        at += count;
        const std::size_t left = pageSize - start - count;
        page[0] = static_cast<std::uint8_t>(PageType::tableDefinition);
        page[1] = 1;
        putU16(page.data() + 2, static_cast<std::uint32_t>(left > pageOwnBytes ? left - pageOwnBytes : 0));
        putU32(page.data() + 4, i + 1 < chain.size() ? chain[i + 1] : 0);
    }
}

Bytes definitionWithoutIndex(Pager& pager, const TableDefinition& table, std::size_t physical)
{
    const Bytes old = readDefinitionBytes(pager, table.page).bytes;
    const std::size_t physicalCount = table.indexes.size();
    Bytes out;
    const auto copy = [&](const std::uint8_t* from, std::size_t count) { out.insert(out.end(), from, from + count); };

    Reader reader(pager, table.page, old);
    copy(reader.take(fixedPart), fixedPart);
    for (std::size_t i = 0; i < physicalCount; ++i) {
        const std::uint8_t* record = reader.take(statisticsRecord);
        if (i != physical) copy(record, statisticsRecord);
    }
    const std::size_t columnsStart = reader.position();
    reader.take(columnRecord * table.columns.size());
    for (std::size_t i = 0; i < table.columns.size(); ++i) reader.name();
    copy(old.data() + columnsStart, reader.position() - columnsStart);
    for (std::size_t i = 0; i < physicalCount; ++i) {
        const std::uint8_t* record = reader.take(physicalRecord);
        if (i != physical) copy(record, physicalRecord);
    }
    std::size_t logicalLeft = 0;
    for (const LogicalIndex& logical : table.logicalIndexes) {
        const std::uint8_t* record = reader.take(logicalRecord);
        if (logical.physical == physical) continue;
        copy(record, logicalRecord);
        // The physical indexes behind the dropped one move up by one place.
        if (logical.physical > physical) {
            putU32(out.data() + out.size() - logicalRecord + 8, static_cast<std::uint32_t>(logical.physical - 1));
        }
        ++logicalLeft;
    }
    for (const LogicalIndex& logical : table.logicalIndexes) {
        const std::size_t start = reader.position();
        reader.name();
        if (logical.physical != physical) copy(old.data() + start, reader.position() - start);
    }
    copy(old.data() + reader.position(), reader.left());

    putU32(out.data() + definitionField::length, static_cast<std::uint32_t>(out.size()));
    putU32(out.data() + 47, static_cast<std::uint32_t>(logicalLeft));
    putU32(out.data() + 51, static_cast<std::uint32_t>(physicalCount - 1));
    return out;
}

} // namespace jet
