#include "exchange/relationships.h"

#include "store/jet/format/system_objects.h"
#include "store/jet/table/catalogue.h"

#include <algorithm>
#include <cstdint>

namespace exchange {

std::vector<Relationship> relationshipsOf(jet::Database& database)
{
    const auto all = database.allTables();
    const bool present =
        std::ranges::any_of(all, [](const auto& table) { return table.first == jet::msysRelationships; });
    if (!present) return {};
    using jet::ColumnType;
    namespace at = jet::relationship_columns;
    const jet::Table& table = database.table(jet::msysRelationships);
    const auto text = [&](const char16_t* name) { return jet::systemColumn(table, name, ColumnType::text); };
    const std::size_t name = text(at::name), own = text(at::child), column = text(at::childColumn);
    const std::size_t other = text(at::parent), otherColumn = text(at::parentColumn);
    const std::size_t bits = jet::systemColumn(table, at::bits, ColumnType::longInteger);
    const std::size_t place = jet::systemColumn(table, at::place, ColumnType::longInteger);

    std::vector<Relationship> found;
    table.forEachRow([&](jet::RowId, const jet::RowView& row) {
        std::u16string called, columnName, otherName;
        row.text(name, called);
        row.text(column, columnName);
        row.text(otherColumn, otherName);
        auto at = std::ranges::find(found, called, &Relationship::name);
        if (at == found.end()) {
            Relationship made;
            made.name = called;
            row.text(own, made.table);
            row.text(other, made.referencedTable);
            const auto marks = static_cast<std::uint32_t>(static_cast<std::int64_t>(row.number(bits).value_or(0)));
            made.enforced = (marks & jet::notEnforced) == 0;
            made.cascadeUpdates = (marks & jet::updatesCascade) != 0;
            made.cascadeDeletes = (marks & jet::deletesCascade) != 0;
            at = found.insert(found.end(), made);
        }
        const auto number = static_cast<std::size_t>(std::max(0.0, row.number(place).value_or(0)));
        if (at->columns.size() <= number) {
            at->columns.resize(number + 1);
            at->referenced.resize(number + 1);
        }
        at->columns[number] = columnName;
        at->referenced[number] = otherName;
        return true;
    });
    return found;
}

} // namespace exchange
