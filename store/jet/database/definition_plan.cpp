#include "store/jet/database/definition_plan.h"

#include "store/jet/format/value_layout.h"

#include <algorithm>
#include <tuple>

namespace jet {
namespace {

/// Where a name stands among others: by its index key, which knows no letter case.
std::vector<std::uint8_t> nameOrder(std::u16string_view name, Collation collation)
{
    return textKey(name, hasWeights(collation) ? collation : general)->bytes;
}

bool isVariable(ColumnType type)
{
    switch (type) {
    case ColumnType::binary:
    case ColumnType::text:
    case ColumnType::ole:
    case ColumnType::memo:
    case ColumnType::numeric:
        return true;
    default:
        return false;
    }
}

/// Numbers the columns in the order given and lays their fields one behind the other.
void assignPlaces(TableDefinition& table)
{
    std::uint16_t fixedEnd = 0;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        Column& column = table.columns[i];
        column.id = static_cast<std::uint16_t>(i);
        column.ordinal = table.system ? 0 : column.id;
        if (!column.fixed) {
            column.variableIndex = table.variableEver++;
        } else if (column.type != ColumnType::boolean) {
            column.fixedOffset = fixedEnd;
            fixedEnd = static_cast<std::uint16_t>(fixedEnd + column.length);
        }
    }
    table.columnsEver = static_cast<std::uint16_t>(table.columns.size());
}

Index plannedIndex(const TableDefinition& table, const NewIndex& wanted)
{
    Index index;
    index.names = {wanted.name};
    index.unique = wanted.unique || wanted.primaryKey;
    index.ignoreNulls = wanted.ignoreNulls;
    // The primary keys of the system's own tables do without the mark.
    index.required = wanted.required || (wanted.primaryKey && !table.system);
    index.primaryKey = wanted.primaryKey;
    index.number = table.indexes.size();
    for (const auto& [name, ascending] : wanted.columns) {
        const auto column = std::find_if(table.columns.begin(), table.columns.end(),
                                         [&name = name](const Column& each) { return each.name == name; });
        index.columns.push_back({static_cast<std::size_t>(column - table.columns.begin()), ascending});
    }
    return index;
}

} // namespace

TableDefinition planDefinition(std::vector<Column> columns, const std::vector<NewIndex>& indexes, bool system,
                               Collation collation)
{
    TableDefinition table;
    table.system = system;
    table.columns = std::move(columns);
    assignPlaces(table);
    std::sort(table.columns.begin(), table.columns.end(), [&](const Column& a, const Column& b) {
        return std::tuple(a.ordinal, nameOrder(a.name, collation)) <
               std::tuple(b.ordinal, nameOrder(b.name, collation));
    });
    for (const NewIndex& wanted : indexes) {
        table.indexes.push_back(plannedIndex(table, wanted));
        LogicalIndex logical;
        logical.name = wanted.name;
        // Equal numbers, because some readers take one for the other.
        logical.physical = table.logicalIndexes.size();
        logical.id = static_cast<std::uint32_t>(logical.physical);
        logical.kind = wanted.primaryKey ? LogicalIndex::Kind::primaryKey : LogicalIndex::Kind::ordinary;
        table.logicalIndexes.push_back(std::move(logical));
    }
    std::sort(table.logicalIndexes.begin(), table.logicalIndexes.end(), [&](const auto& a, const auto& b) {
        return nameOrder(a.name, collation) < nameOrder(b.name, collation);
    });
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const ColumnType type = table.columns[i].type;
        if (isLongValue(type)) table.longValues.push_back({i, {}, {}});
    }
    return table;
}

Column plannedColumn(const NewColumn& wanted, Collation collation)
{
    Column column;
    column.name = wanted.name;
    column.type = wanted.type;
    column.fixed = !isVariable(wanted.type);
    column.autoNumber = wanted.autoNumber && wanted.type == ColumnType::longInteger;
    column.autoGuid = wanted.autoNumber && wanted.type == ColumnType::guid;
    switch (wanted.type) {
    case ColumnType::text:
        column.length = static_cast<std::uint16_t>(wanted.size * text_layout::unitBytes);
        break;
    case ColumnType::binary:
        column.length = wanted.size;
        break;
    case ColumnType::boolean:
        column.length = 1;
        break;
    default:
        column.length = static_cast<std::uint16_t>(exactLength(wanted.type));
        break;
    }
    if (wanted.type == ColumnType::numeric) {
        column.precision = wanted.precision;
        column.scale = wanted.scale;
    }
    if (wanted.type == ColumnType::text || wanted.type == ColumnType::memo) {
        column.collation = collation;
        column.compressible = true;
    }
    return column;
}

std::size_t shortestRowOf(const TableDefinition& definition)
{
    const std::size_t table = definition.variableEver > 0 ? row_layout::tableBytes(definition.variableEver) : 0;
    return definition.layout().fixedEnd + table + row_layout::bitmapBytes(definition.columnsEver);
}

} // namespace jet
