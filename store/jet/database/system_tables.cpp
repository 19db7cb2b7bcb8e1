#include "store/jet/database/system_tables.h"

#include "store/jet/database/definition_plan.h"
#include "store/jet/database/header.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/limits.h"
#include "store/jet/format/usage_map_layout.h"
#include "store/jet/index/index_tree.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/table_definition.h"

#include <algorithm>
#include <array>

namespace jet {
namespace {

constexpr PageCount pageCount = 16;
constexpr PageNo mapPage = 6;
constexpr PageNo firstIndexPage = 7;

struct SystemTable {
    std::vector<NewColumn> columns;
    std::vector<NewIndex> indexes;
    PageNo dataPage = 0; ///< 0: none until the first row
};

NewColumn number(const char16_t* name) { return {.name = name, .type = ColumnType::longInteger}; }
NewColumn field(const char16_t* name, ColumnType type) { return {.name = name, .type = type}; }
NewColumn text(const char16_t* name) { return {.name = name, .type = ColumnType::text, .size = limits::text}; }
NewColumn binary(const char16_t* name) { return {.name = name, .type = ColumnType::binary, .size = limits::binary}; }

SystemTable objects()
{
    return {{number(object_columns::id), number(object_columns::parent), text(object_columns::name),
             field(object_columns::type, ColumnType::integer), field(object_columns::created, ColumnType::dateTime),
             field(object_columns::updated, ColumnType::dateTime), binary(object_columns::owner),
             number(object_columns::flags), field(u"Database", ColumnType::memo), field(u"Connect", ColumnType::memo),
             text(u"ForeignName"), binary(u"RmtInfoShort"), field(u"RmtInfoLong", ColumnType::ole),
             field(u"Lv", ColumnType::ole), field(object_columns::properties, ColumnType::ole),
             field(u"LvModule", ColumnType::ole), field(u"LvExtra", ColumnType::ole)},
            {{.name = u"ParentIdName",
              .columns = {{object_columns::parent, true}, {object_columns::name, true}},
              .unique = true},
             {.name = object_columns::id, .columns = {{object_columns::id, true}}, .primaryKey = true}},
            14};
}

SystemTable accessRights()
{
    return {{number(right_columns::object), binary(right_columns::account), number(right_columns::mask),
             field(right_columns::inheritable, ColumnType::boolean)},
            {{.name = right_columns::object, .columns = {{right_columns::object, true}}, .required = true}},
            15};
}

SystemTable queries()
{
    return {
        {number(query_columns::object), field(query_columns::attribute, ColumnType::byte), binary(query_columns::order),
         text(query_columns::name1), text(query_columns::name2), field(query_columns::expression, ColumnType::memo),
         field(query_columns::flag, ColumnType::integer), number(query_columns::extra)},
        {{.name = u"ObjectIdAttribute",
          .columns = {{query_columns::object, true}, {query_columns::attribute, true}, {query_columns::order, true}},
          .primaryKey = true}}};
}

SystemTable relationships()
{
    const auto index = [](const char16_t* column) {
        return NewIndex{.name = column, .columns = {{column, true}}, .ignoreNulls = true};
    };
    return {
        {text(relationship_columns::name), number(relationship_columns::bits), number(relationship_columns::count),
         number(relationship_columns::place), text(relationship_columns::child),
         text(relationship_columns::childColumn), text(relationship_columns::parent),
         text(relationship_columns::parentColumn)},
        {index(relationship_columns::name), index(relationship_columns::child), index(relationship_columns::parent)}};
}

/// The two maps of page 1: every page from `firstFree` on is free, within the file and behind it.
void buildGlobalMaps(PageBytes holder, PageCount firstFree)
{
    initRowPage(holder, freeMap.page);
    std::array<std::uint8_t, usage_map_layout::newRow> row{};
    const std::span<std::uint8_t> bits = std::span(row).subspan(usage_map_layout::inlineBits);
    for (std::size_t bit = firstFree; bit < bits.size() * 8; ++bit)
        bits[bit / 8] = static_cast<std::uint8_t>(bits[bit / 8] | 1U << bit % 8);
    appendRow(holder, row, RowKind::ordinary);
    // The second map of the header is empty in every file; what it is for is not known.
    row.fill(0);
    appendRow(holder, row, RowKind::ordinary);
}

class BlankDatabase {
public:
    explicit BlankDatabase(Collation collation) : collation_(collation), bytes_(pageCount * pageSize, 0) {}

    std::vector<std::uint8_t> build()
    {
        buildHeader(page(0), collation_);
        buildGlobalMaps(page(freeMap.page), pageCount);
        initRowPage(page(mapPage), row_page_layout::mapOwner);
        const std::array tables{objects(), accessRights(), queries(), relationships()};
        for (std::size_t i = 0; i < tables.size(); ++i) {
            addTable(firstSystemTable + static_cast<PageCount>(i), tables[i]);
        }
        return std::move(bytes_);
    }

private:
    PageBytes page(PageNo number) { return PageBytes(bytes_.data() + positionOf(number), pageSize); }

    MapRef addMap(PageNo owned)
    {
        std::array<std::uint8_t, usage_map_layout::newRow> row{};
        if (owned != 0)
            row[usage_map_layout::inlineBits + owned.number() / 8] =
                static_cast<std::uint8_t>(1u << owned.number() % 8);
        return {appendRow(page(mapPage), row, RowKind::ordinary), mapPage};
    }

    void addTable(PageNo definitionPage, const SystemTable& wanted)
    {
        std::vector<Column> columns;
        for (const NewColumn& each : wanted.columns) {
            columns.push_back(plannedColumn(each, collation_));
            columns.back().compressible = false;
        }
        TableDefinition table = planDefinition(std::move(columns), wanted.indexes, true, collation_);
        table.owned = addMap(wanted.dataPage);
        table.freeSpace = addMap(wanted.dataPage);
        // Maps are numbered by column, while the definition lists them by name.
        std::vector<LongValueMaps*> maps;
        for (LongValueMaps& each : table.longValues) maps.push_back(&each);
        std::sort(maps.begin(), maps.end(), [&](const LongValueMaps* a, const LongValueMaps* b) {
            return table.columns[a->column].id < table.columns[b->column].id;
        });
        for (LongValueMaps* each : maps) {
            each->owned = addMap(0);
            each->freeSpace = addMap(0);
        }
        for (Index& index : table.indexes) {
            index.root = nextIndexPage_;
            ++nextIndexPage_;
            index.ownedPages = addMap(index.root);
            initIndexLeaf(page(index.root), definitionPage);
        }
        if (wanted.dataPage != 0) initRowPage(page(wanted.dataPage), definitionPage);

        const Bytes definition = buildTableDefinition(table, collation_);
        const PageBytes into = page(definitionPage);
        std::copy(definition.begin(), definition.end(), into.begin());
        page_layout::freeBytes.put(into, definition_layout::page::freeBytesOf(pageSize - definition.size()));
    }

    Collation collation_;
    std::vector<std::uint8_t> bytes_;
    PageNo nextIndexPage_ = firstIndexPage;
};

} // namespace

std::vector<std::uint8_t> blankDatabase(Collation collation) { return BlankDatabase(collation).build(); }

std::vector<std::uint8_t> emptyPages(PageView header)
{
    std::vector<std::uint8_t> bytes(pageCount * pageSize, 0);
    copyHeader(PageBytes(bytes.data(), pageSize), header);
    buildGlobalMaps(PageBytes(&bytes[positionOf(freeMap.page)], pageSize), freeMap.page.number() + 1);
    return bytes;
}

} // namespace jet
