#include "store/jet/rows/table_definition.h"

#include "store/jet/format/limits.h"
#include "store/jet/format/row_layout.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/format/value_layout.h"
#include "store/jet/pages/damage.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/values/names.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <map>

namespace jet {
namespace {

namespace at = definition_layout;

constexpr std::uint8_t relationshipKind = static_cast<std::uint8_t>(LogicalIndex::Kind::relationship);

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
    /// The next record of long value maps; null at the end of their list.
    const std::uint8_t* longValueMaps()
    {
        const std::uint8_t* record = take(at::longValueMaps::columnId.size);
        if (at::longValueMaps::columnId.get(record) == at::noColumn) return nullptr;
        take(at::longValueMaps::bytes - at::longValueMaps::columnId.size);
        return record;
    }
    std::u16string name()
    {
        const std::size_t length = at::nameLength.get(take(at::nameLengthBytes));
        if (length % text_layout::unitBytes != 0 || length > limits::name * text_layout::unitBytes)
            fail("tablo tanımında bozuk bir ad var");
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
    if (pager.has(page)) return;
    throw Error(Fault::cutShort, files::quotedPath(pager.path()) + " dosyası eksik: dosyada " +
                                     std::to_string(page.number()) + " numaralı sayfa olmalı, ama dosya " +
                                     std::to_string(pager.pageCount()) +
                                     " sayfada bitiyor. Dosyanın tam bir kopyasını kullanın.");
}

/// A map that the table cannot be read without.
void checkTableMap(Pager& pager, const Reader& reader, MapRef map)
{
    checkPage(pager, map.page);
    const PageView page = pager.read(map.page);
    const auto slot = slotAt(page, map.slot);
    if (map.none() || !isPageOf(page, PageType::row) || !slot || slot->dead()) {
        reader.fail("tablonun sayfa haritası yerinde değil");
    }
}

Column readColumn(const std::uint8_t* p)
{
    Column column;
    namespace field = at::column;
    column.type = static_cast<ColumnType>(field::type.get(p));
    column.id = field::id.get(p);
    column.variableIndex = field::variableIndex.get(p);
    column.ordinal = field::ordinal.get(p);
    if (column.type == ColumnType::numeric) {
        column.precision = field::precision.get(p);
        column.scale = field::scale.get(p);
    } else if (column.type == ColumnType::text || column.type == ColumnType::memo) {
        column.collation = {field::lcid.get(p), field::collationVersion.get(p)};
    }
    const unsigned flags = field::flags.get(p);
    column.fixed = (flags & field::fixedFlag) != 0;
    column.autoNumber = (flags & field::autoNumberFlag) != 0 && column.type == ColumnType::longInteger;
    column.autoGuid = (flags & field::autoGuidFlag) != 0 && column.type == ColumnType::guid;
    column.compressible = (field::moreFlags.get(p) & field::compressibleFlag) != 0;
    column.fixedOffset = field::fixedOffset.get(p);
    column.length = field::length.get(p);
    return column;
}

void checkColumn(const Reader& reader, const Column& column, std::uint16_t columnsEver, std::uint16_t variableEver)
{
    if (column.id >= columnsEver) reader.fail("bir sütunun numarası tablo tanımına uymuyor");
    if (column.fixed) {
        const std::size_t exact = exactLength(column.type);
        const bool halfCharacter = column.type == ColumnType::text && column.length % text_layout::unitBytes != 0;
        if (isLongValue(column.type) || halfCharacter || (exact != 0 && column.length != exact))
            reader.fail("tablo tanımında bir sütunun uzunluğu türüne uymuyor");
        if (column.type != ColumnType::boolean && column.fixedOffset + column.length > static_cast<int>(limits::row)) {
            reader.fail("bir sütun satıra sığmıyor");
        }
    } else if (column.type != ColumnType::boolean && column.variableIndex >= variableEver) {
        reader.fail("bir sütunun satırdaki yeri tablo tanımına uymuyor");
    }
}

/// Two columns that cannot both be right.
struct Clash {
    std::size_t one = 0, other = 0;
    const char* what = nullptr; ///< a Turkish clause
};

std::vector<Clash> clashesOf(const std::vector<Column>& columns)
{
    static constexpr const char* samePlace = "iki sütun satırda aynı yeri gösteriyor";
    std::vector<Clash> clashes;
    std::map<std::uint16_t, std::size_t> ids;
    std::map<std::uint16_t, std::size_t> variables;
    std::vector<std::size_t> fixed;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Column& column = columns[i];
        const auto [first, isNew] = ids.emplace(column.id, i);
        if (!isNew) clashes.push_back({first->second, i, "iki sütun aynı numarayı taşıyor"});
        if (column.type == ColumnType::boolean) continue;
        if (column.fixed) {
            fixed.push_back(i);
        } else {
            const auto [before, isAlone] = variables.emplace(column.variableIndex, i);
            if (!isAlone) clashes.push_back({before->second, i, samePlace});
        }
    }
    const auto endOf = [&](std::size_t i) { return unsigned{columns[i].fixedOffset} + columns[i].length; };
    std::ranges::sort(fixed, {}, [&](std::size_t i) { return std::pair(columns[i].fixedOffset, columns[i].length); });
    for (std::size_t k = 1, last = 0; k < fixed.size(); ++k) {
        if (columns[fixed[k]].fixedOffset < endOf(fixed[last])) clashes.push_back({fixed[last], fixed[k], samePlace});
        if (endOf(fixed[k]) > endOf(fixed[last])) last = k;
    }
    return clashes;
}

Index readPhysicalIndex(const Reader& reader, const std::uint8_t* p, const std::vector<Column>& columns)
{
    Index index;
    namespace field = at::physicalIndex;
    for (std::size_t k = 0; k < field::mostColumns; ++k) {
        const std::uint8_t* part = p + field::columnAt(k);
        const std::uint16_t id = field::columnId.get(part);
        if (id == at::noColumn) continue;
        const auto column =
            std::find_if(columns.begin(), columns.end(), [id](const Column& each) { return each.id == id; });
        if (column == columns.end()) reader.fail("bir dizin olmayan bir sütunu gösteriyor");
        index.columns.push_back({static_cast<std::size_t>(column - columns.begin()),
                                 (field::columnOrder.get(part) & field::ascending) != 0});
    }
    if (index.columns.empty()) reader.fail("bir dizinin sütunu yok");
    index.ownedPages = field::owned.get(p);
    index.root = field::root.get(p);
    const unsigned flags = field::flags.get(p);
    index.unique = (flags & field::uniqueFlag) != 0;
    index.ignoreNulls = (flags & field::ignoreNullsFlag) != 0;
    index.required = (flags & field::requiredFlag) != 0;
    return index;
}

void putName(Bytes& out, std::u16string_view name)
{
    const std::size_t start = out.size();
    out.resize(start + at::nameLengthBytes);
    at::nameLength.put(out.data() + start, static_cast<std::uint32_t>(name.size() * text_layout::unitBytes));
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
    namespace field = at::column;
    unsigned flags = field::alwaysFlag;
    if (column.fixed) flags |= field::fixedFlag;
    if (column.autoNumber) flags |= field::autoNumberFlag;
    if (column.autoGuid) flags |= field::autoGuidFlag;
    if (system) flags |= field::systemFlag;
    if (system && (column.name == object_columns::owner || column.name == right_columns::account))
        flags |= field::accountFlag;
    return flags;
}

void putColumn(std::uint8_t* p, const Column& column, std::size_t variablesBefore, bool system, Collation collation)
{
    namespace field = at::column;
    field::type.put(p, static_cast<std::uint8_t>(column.type));
    field::magic.put(p, at::magicNumber);
    field::id.put(p, column.id);
    field::variableIndex.put(p, static_cast<std::uint32_t>(column.fixed ? variablesBefore : column.variableIndex));
    field::ordinal.put(p, column.ordinal);
    if (column.type == ColumnType::numeric) {
        field::precision.put(p, column.precision);
        field::scale.put(p, column.scale);
    } else {
        field::lcid.put(p, collation.lcid);
        field::collationVersion.put(p, collation.version);
    }
    field::flags.put(p, columnFlags(column, system));
    field::moreFlags.put(p, column.compressible ? field::compressibleFlag : 0);
    field::fixedOffset.put(p, column.fixed ? column.fixedOffset : 0);
    field::length.put(p, column.length);
}

void putPhysicalIndex(std::uint8_t* p, const Index& index, const std::vector<Column>& columns)
{
    namespace field = at::physicalIndex;
    field::magic.put(p, at::indexMagicNumber);
    for (std::size_t k = 0; k < field::mostColumns; ++k) {
        const bool used = k < index.columns.size();
        std::uint8_t* part = p + field::columnAt(k);
        field::columnId.put(part, used ? columns[index.columns[k].column].id : at::noColumn);
        field::columnOrder.put(part, used && index.columns[k].ascending ? field::ascending : 0);
    }
    field::owned.put(p, index.ownedPages);
    field::root.put(p, index.root);
    field::flags.put(p, field::alwaysFlag | (index.unique ? field::uniqueFlag : 0u) |
                            (index.ignoreNulls ? field::ignoreNullsFlag : 0u) |
                            (index.required ? field::requiredFlag : 0u));
}

void putLogicalIndex(std::uint8_t* p, const LogicalIndex& index)
{
    namespace field = at::logicalIndex;
    field::magic.put(p, at::magicNumber);
    field::id.put(p, index.id);
    field::physical.put(p, static_cast<std::uint32_t>(index.physical));
    field::partner.put(p, field::noPartner);
    field::cascadeUpdates.put(p, field::noRelationship);
    field::cascadeDeletes.put(p, field::noRelationship);
    field::kind.put(p, static_cast<std::uint8_t>(index.kind));
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
            place.offset = static_cast<std::uint16_t>(row_layout::fixedFields + column.fixedOffset);
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
            if (!isPageOf(view, PageType::tableDefinition) ||
                std::ranges::find(joined.chain, next) != joined.chain.end() ||
                joined.chain.size() == limits::definitionPages)
                throwDamaged(pager, next, "tablo tanımının sayfa zinciri bozuk");
            const std::span<const std::uint8_t> own = view.subspan(joined.chain.empty() ? 0 : at::page::ownBytes);
            joined.bytes.insert(joined.bytes.end(), own.begin(), own.end());
            joined.chain.push_back(next);
            next = at::page::next.get(view);
        }
    });
    if (joined.chain.empty()) throwDamaged(pager, page, "tablo tanımı değil");
    const std::size_t length = at::head::length.get(joined.bytes);
    if (length >= at::head::bytes && length <= joined.bytes.size())
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

Counts readHead(Reader& reader, TableDefinition& table, const DefinitionReceiver& receiver)
{
    const std::uint8_t* head = reader.take(at::head::bytes);
    table.system = at::head::kind.get(head) == at::head::systemTable;
    table.columnsEver = at::head::columnsEver.get(head);
    table.variableEver = at::head::variableEver.get(head);
    const Counts counts{at::head::columns.get(head), at::head::logicalIndexes.get(head),
                        at::head::physicalIndexes.get(head)};
    // More columns than a table can ever have make the rows of a writer too long, not those that are there unreadable.
    readPart(DefinitionPart::columns, receiver, [&] {
        if (table.columnsEver > limits::columns) reader.fail("tablo tanımındaki sayılar tutarsız");
    });
    if (counts.columns > limits::columns || counts.logical > limits::indexesRead ||
        counts.physical > limits::indexesRead || counts.columns > table.columnsEver ||
        table.variableEver > table.columnsEver || counts.columns == 0) {
        reader.fail("tablo tanımındaki sayılar tutarsız");
    }
    table.owned = at::head::owned.get(head);
    table.freeSpace = at::head::freeSpace.get(head);
    return counts;
}

/// Reads the columns. Those that contradict the table or each other are left out where somebody hears of it; a length
/// that the type knows is taken from there.
void readColumns(Reader& reader, const Counts& counts, TableDefinition& table, const DefinitionReceiver& receiver)
{
    reader.take(at::statistics::bytes * counts.physical);
    std::vector<Column> columns;
    for (std::size_t i = 0; i < counts.columns; ++i) columns.push_back(readColumn(reader.take(at::column::bytes)));
    for (Column& column : columns) column.name = reader.name();

    const auto isRead = [&](const Column& column, const char* outcome, auto&& part) {
        const auto named = [&](DefinitionPart name, const Error& error) {
            receiver(name, Error(error.fault(), quotedName(column.name) + outcome + error.what()));
        };
        return readPart(DefinitionPart::columns, receiver ? DefinitionReceiver(named) : DefinitionReceiver(), part);
    };
    constexpr const char* leftOut = " alanı okunamadı: ";
    std::vector<bool> usable(columns.size(), true);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        Column& column = columns[i];
        const std::size_t exact = exactLength(column.type);
        if (receiver && column.fixed && exact != 0 && column.length != exact) {
            isRead(column, " alanının uzunluğu türünden alındı: ", [&] {
                reader.fail("tablo tanımında bir sütunun uzunluğu türüne uymuyor");
            });
            column.length = static_cast<std::uint16_t>(exact);
        }
        usable[i] =
            isRead(column, leftOut, [&] { checkColumn(reader, column, table.columnsEver, table.variableEver); });
    }
    for (const Clash& clash : clashesOf(columns)) {
        if (!usable[clash.one] || !usable[clash.other]) continue;
        for (const std::size_t each : {clash.one, clash.other})
            usable[each] = isRead(columns[each], leftOut, [&] { reader.fail(clash.what); });
    }
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (usable[i]) table.columns.push_back(std::move(columns[i]));
    if (table.columns.empty()) reader.fail("tablo tanımındaki sayılar tutarsız");
    std::stable_sort(table.columns.begin(), table.columns.end(),
                     [](const Column& a, const Column& b) { return a.ordinal < b.ordinal; });
}

RelationshipEnd readRelationship(const std::uint8_t* p)
{
    namespace field = at::logicalIndex;
    RelationshipEnd end;
    const auto role = static_cast<std::uint8_t>(field::role.get(p));
    if (role <= static_cast<std::uint8_t>(RelationshipEnd::Role::child))
        end.role = static_cast<RelationshipEnd::Role>(role);
    end.partner = field::partner.get(p);
    end.partnerTable = PageNo(field::partnerTable.get(p));
    end.cascadesUpdates = field::cascadeUpdates.get(p) == field::cascade;
    end.cascadesDeletes = field::cascadeDeletes.get(p) == field::cascade;
    end.clearsOnDelete = field::cascadeDeletes.get(p) == field::clear;
    return end;
}

void readIndexes(Pager& pager, Reader& reader, const Counts& counts, TableDefinition& table)
{
    for (std::size_t i = 0; i < counts.physical; ++i) {
        Index index = readPhysicalIndex(reader, reader.take(at::physicalIndex::bytes), table.columns);
        checkPage(pager, index.root);
        checkPage(pager, index.ownedPages.page);
        index.number = i;
        table.indexes.push_back(std::move(index));
    }
    for (std::size_t i = 0; i < counts.logical; ++i) {
        const std::uint8_t* p = reader.take(at::logicalIndex::bytes);
        LogicalIndex logical;
        logical.id = at::logicalIndex::id.get(p);
        logical.physical = at::logicalIndex::physical.get(p);
        const std::uint8_t kind = at::logicalIndex::kind.get(p);
        if (logical.physical >= counts.physical || kind > relationshipKind) {
            reader.fail("bir dizin adı olmayan bir dizini gösteriyor");
        }
        logical.kind = static_cast<LogicalIndex::Kind>(kind);
        if (logical.kind == LogicalIndex::Kind::relationship) logical.relationship = readRelationship(p);
        table.logicalIndexes.push_back(std::move(logical));
    }
    for (LogicalIndex& logical : table.logicalIndexes) {
        logical.name = reader.name();
        Index& index = table.indexes[logical.physical];
        index.names.push_back(logical.name);
        if (logical.kind == LogicalIndex::Kind::primaryKey) index.primaryKey = true;
        if (logical.kind == LogicalIndex::Kind::relationship) index.relationship = true;
    }
    while (const std::uint8_t* p = reader.longValueMaps()) {
        const std::uint16_t id = at::longValueMaps::columnId.get(p);
        const auto column = std::find_if(table.columns.begin(), table.columns.end(),
                                         [id](const Column& each) { return each.id == id; });
        // Maps of a deleted column stay in the list; nothing refers to them any more.
        if (column == table.columns.end()) continue;
        if (isKnown(column->type) && !isLongValue(column->type))
            reader.fail("uzun alanların sayfaları başka türden bir sütuna yazılı");
        const LongValueMaps maps{static_cast<std::size_t>(column - table.columns.begin()),
                                 at::longValueMaps::owned.get(p), at::longValueMaps::freeSpace.get(p)};
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
    const Counts counts = readHead(reader, table, receiver);
    readPart(DefinitionPart::maps, receiver, [&] {
        checkTableMap(pager, reader, table.owned);
        checkTableMap(pager, reader, table.freeSpace);
    });
    readColumns(reader, counts, table, receiver);
    if (!readPart(DefinitionPart::indexes, receiver, [&] { readIndexes(pager, reader, counts, table); })) {
        table.indexes.clear();
        table.logicalIndexes.clear();
        table.longValues.clear();
    }
    return table;
}

Bytes buildTableDefinition(const TableDefinition& table, Collation collation)
{
    Bytes out(at::head::bytes, 0);
    stampPage(out, PageType::tableDefinition);
    at::head::magic.put(out, at::magicNumber);
    at::head::autoNumberStep.put(out, at::head::autoNumberStepValue);
    at::head::kind.put(out, table.system ? at::head::systemTable : at::head::userTable);
    at::head::columnsEver.put(out, table.columnsEver);
    at::head::variableEver.put(out, table.variableEver);
    at::head::columns.put(out, static_cast<std::uint32_t>(table.columns.size()));
    at::head::logicalIndexes.put(out, static_cast<std::uint32_t>(table.logicalIndexes.size()));
    at::head::physicalIndexes.put(out, static_cast<std::uint32_t>(table.indexes.size()));
    at::head::owned.put(out, table.owned);
    at::head::freeSpace.put(out, table.freeSpace);

    addRecord(out, at::statistics::bytes * table.indexes.size());
    for (const Column& column : table.columns) {
        putColumn(addRecord(out, at::column::bytes), column, variablesBefore(table.columns, column.id), table.system,
                  collation);
    }
    for (const Column& column : table.columns) putName(out, column.name);
    for (const Index& index : table.indexes)
        putPhysicalIndex(addRecord(out, at::physicalIndex::bytes), index, table.columns);
    for (const LogicalIndex& index : table.logicalIndexes)
        putLogicalIndex(addRecord(out, at::logicalIndex::bytes), index);
    for (const LogicalIndex& index : table.logicalIndexes) putName(out, index.name);
    for (const LongValueMaps& maps : table.longValues) {
        std::uint8_t* p = addRecord(out, at::longValueMaps::bytes);
        at::longValueMaps::columnId.put(p, table.columns[maps.column].id);
        at::longValueMaps::owned.put(p, maps.owned);
        at::longValueMaps::freeSpace.put(p, maps.freeSpace);
    }
    at::longValueMaps::columnId.put(addRecord(out, at::longValueMaps::columnId.size), at::noColumn);
    at::head::length.put(out, static_cast<std::uint32_t>(out.size()));
    return out;
}

std::size_t definitionPages(std::size_t length)
{
    if (length <= pageSize) return 1;
    constexpr std::size_t perPage = pageSize - at::page::ownBytes;
    return 1 + (length - pageSize + perPage - 1) / perPage;
}

void writeDefinitionBytes(Pager& pager, const std::vector<PageNo>& chain, const Bytes& bytes)
{
    std::size_t at = 0;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const PageBytes page = pager.write(chain[i]);
        const std::size_t start = i == 0 ? 0 : at::page::ownBytes;
        const std::size_t count = std::min(pageSize - start, bytes.size() - at);
        std::fill(page.begin(), page.end(), std::uint8_t{0});
        std::ranges::copy(std::span(bytes).subspan(at, count), page.subspan(start).begin());
        at += count;
        const std::size_t left = pageSize - start - count;
        stampPage(page, PageType::tableDefinition);
        page_layout::freeBytes.put(page, at::page::freeBytesOf(left));
        at::page::next.put(page, i + 1 < chain.size() ? chain[i + 1] : 0);
    }
}

Bytes definitionElsewhere(Pager& pager, const TableDefinition& from, const TableDefinition& to,
                          const std::function<PageNo(PageNo)>& partner)
{
    const Bytes old = readDefinitionBytes(pager, from.page).bytes;
    Bytes out = old;
    Reader reader(pager, from.page, old);
    /// The next record of the copy.
    const auto record = [&](std::size_t bytes) {
        const std::size_t begin = reader.position();
        reader.take(bytes);
        return &out[begin];
    };
    std::uint8_t* const head = record(at::head::bytes);
    at::head::owned.put(head, to.owned);
    at::head::freeSpace.put(head, to.freeSpace);
    reader.take(at::statistics::bytes * from.indexes.size() + at::column::bytes * from.columns.size());
    for (std::size_t i = 0; i < from.columns.size(); ++i) reader.name();
    for (const Index& index : to.indexes) {
        std::uint8_t* const physical = record(at::physicalIndex::bytes);
        at::physicalIndex::owned.put(physical, index.ownedPages);
        at::physicalIndex::root.put(physical, index.root);
    }
    for (std::size_t i = 0; i < from.logicalIndexes.size(); ++i) {
        std::uint8_t* const logical = record(at::logicalIndex::bytes);
        // Of an index that is no relationship's, what stands there leads nowhere.
        const bool isRelated = at::logicalIndex::kind.get(logical) == relationshipKind;
        const PageNo table(at::logicalIndex::partnerTable.get(logical));
        if (table != 0) at::logicalIndex::partnerTable.put(logical, isRelated ? partner(table).number() : 0);
    }
    for (std::size_t i = 0; i < from.logicalIndexes.size(); ++i) reader.name();
    for (;;) {
        std::uint8_t* const maps = &out[reader.position()];
        if (reader.longValueMaps() == nullptr) return out;
        const std::uint16_t id = at::longValueMaps::columnId.get(maps);
        const auto fresh = std::ranges::find_if(
            to.longValues, [&](const LongValueMaps& each) { return to.columns[each.column].id == id; });
        at::longValueMaps::owned.put(maps, fresh == to.longValues.end() ? MapRef{} : fresh->owned);
        at::longValueMaps::freeSpace.put(maps, fresh == to.longValues.end() ? MapRef{} : fresh->freeSpace);
    }
}

Bytes definitionWithoutIndex(Pager& pager, const TableDefinition& table, std::size_t physical)
{
    const Bytes old = readDefinitionBytes(pager, table.page).bytes;
    const std::size_t physicalCount = table.indexes.size();
    Bytes out;
    const auto copy = [&](const std::uint8_t* from, std::size_t count) { out.insert(out.end(), from, from + count); };
    const auto copyOthers = [&](Reader& from, std::size_t bytes) {
        for (std::size_t i = 0; i < physicalCount; ++i) {
            const std::uint8_t* record = from.take(bytes);
            if (i != physical) copy(record, bytes);
        }
    };

    Reader reader(pager, table.page, old);
    copy(reader.take(at::head::bytes), at::head::bytes);
    copyOthers(reader, at::statistics::bytes);
    const std::size_t columnsStart = reader.position();
    reader.take(at::column::bytes * table.columns.size());
    for (std::size_t i = 0; i < table.columns.size(); ++i) reader.name();
    copy(old.data() + columnsStart, reader.position() - columnsStart);
    copyOthers(reader, at::physicalIndex::bytes);
    std::size_t logicalLeft = 0;
    for (const LogicalIndex& logical : table.logicalIndexes) {
        const std::uint8_t* record = reader.take(at::logicalIndex::bytes);
        if (logical.physical == physical) continue;
        copy(record, at::logicalIndex::bytes);
        // The physical indexes behind the dropped one move up by one place.
        if (logical.physical > physical) {
            at::logicalIndex::physical.put(out.data() + out.size() - at::logicalIndex::bytes,
                                           static_cast<std::uint32_t>(logical.physical - 1));
        }
        ++logicalLeft;
    }
    for (const LogicalIndex& logical : table.logicalIndexes) {
        const std::size_t start = reader.position();
        reader.name();
        if (logical.physical != physical) copy(old.data() + start, reader.position() - start);
    }
    copy(old.data() + reader.position(), reader.left());

    at::head::length.put(out, static_cast<std::uint32_t>(out.size()));
    at::head::logicalIndexes.put(out, static_cast<std::uint32_t>(logicalLeft));
    at::head::physicalIndexes.put(out, static_cast<std::uint32_t>(physicalCount - 1));
    return out;
}

} // namespace jet
