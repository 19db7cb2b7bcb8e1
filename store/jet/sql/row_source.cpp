#include "store/jet/sql/row_source.h"

#include "store/jet/sql/number_bounds.h"
#include "store/jet/sql/table_memory.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>

namespace jet::sql {
namespace {

/// An index that can be asked for values of that column, by bytes that are surely those in the file.
const Index* indexOn(const Table& table, std::size_t column)
{
    for (const Index& index : table.indexes())
        if (index.columns.front().column == column && index.columns.front().ascending) return &index;
    return nullptr;
}

/// The same for a column of numbers: whole ones have keys that are sure in either direction.
const Index* indexOnNumber(const Table& table, std::size_t column)
{
    if (const Index* const ascending = indexOn(table, column)) return ascending;
    const ColumnType type = table.columns()[column].type;
    if (type != ColumnType::longInteger && type != ColumnType::integer && type != ColumnType::byte) return nullptr;
    for (const Index& index : table.indexes())
        if (index.columns.front().column == column) return &index;
    return nullptr;
}

bool keyIsCertain(std::u16string_view text, Collation collation)
{
    const std::optional<TextKey> key = textKey(text, collation);
    return key && key->certainty == Certainty::certain;
}

/// Between these stored numbers lies every date of the period; a little more at both ends, as milliseconds decide and
/// not the last bits of a fraction. Nothing where the period is open.
struct StoredBounds {
    std::optional<double> low, high;
};

StoredBounds storedBounds(const Condition::Period& period)
{
    constexpr double perDay = 86'400'000;
    constexpr double slack = 1 / perDay;
    StoredBounds bounds;
    if (period.from != std::numeric_limits<std::int64_t>::min()) {
        double days = static_cast<double>(period.from) / perDay - slack;
        if (days < 1) days -= 2; // around day zero and before it, stored numbers run backwards within a day
        bounds.low = days;
    }
    if (period.to != std::numeric_limits<std::int64_t>::max())
        bounds.high = static_cast<double>(period.to) / perDay + slack;
    return bounds;
}

/// The entries of a date index that can belong to the period.
std::vector<RowId> rowsOfPeriod(const Table& table, const Index& index, const Condition::Period& period)
{
    const auto value = [](const std::optional<double>& days) {
        return days ? std::optional<Value>(DateTime{*days}) : std::nullopt;
    };
    const StoredBounds bounds = storedBounds(period);
    return table.range(index, value(bounds.low), value(bounds.high));
}

/// The rows whose number lies between the two, where an index tells and they are not many: visiting most of a table in
/// the order of an index takes longer than reading it.
std::optional<std::vector<RowId>> rowsOfNumbers(const Table& table, std::size_t column, Condition::Span span)
{
    const Index* const index = indexOnNumber(table, column);
    const auto bounds = numberBounds(table.columns()[column].type, span);
    if (index == nullptr || !bounds || (!bounds->low && !bounds->high)) return std::nullopt;
    const std::size_t most = table.rowCount() / 8 + 64;
    std::vector<RowId> rows = table.range(*index, bounds->low, bounds->high, most + 1);
    if (rows.size() > most) return std::nullopt;
    return rows;
}

/// The pages on which rows of the condition's period can stand; nothing when that may be all of them.
PageList pagesOfPeriod(Table& table, const Condition& condition)
{
    constexpr double infinite = std::numeric_limits<double>::infinity();
    for (std::size_t column = 0; column < table.columns().size(); ++column) {
        const auto period = condition.requiredPeriod(column);
        if (!period) continue;
        const StoredBounds bounds = storedBounds(*period);
        return TableMemory::of(table).dates(column).pages(table, bounds.low.value_or(-infinite),
                                                          bounds.high.value_or(infinite));
    }
    return nullptr;
}

/// Rows among which are all that meet the condition; nothing when only reading the whole table can tell.
std::optional<std::vector<RowId>> candidates(Table& table, const Condition& condition)
{
    const std::vector<Column>& columns = table.columns();
    TableMemory& memory = TableMemory::of(table);

    for (std::size_t column = 0; column < columns.size(); ++column) {
        const auto text = condition.requiredText(column);
        if (!text) continue;
        const Index* index = indexOn(table, column);
        if (index != nullptr && keyIsCertain(*text, columns[column].collation)) {
            const Value value = std::u16string(*text);
            return table.range(*index, value, value);
        }
        if (memory.equal(column).knows(table, *text)) return memory.equal(column).rows(table, *text);
        if (memory.texts(column).knows(table)) return memory.texts(column).rows(table, *text);
    }
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const auto span = condition.requiredNumbers(column);
        if (!span) continue;
        if (auto rows = rowsOfNumbers(table, column, *span)) return rows;
    }
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const auto period = condition.requiredPeriod(column);
        const Index* index = period ? indexOn(table, column) : nullptr;
        if (index != nullptr) return rowsOfPeriod(table, *index, *period);
    }
    for (std::size_t column = 0; column < columns.size(); ++column)
        if (const auto text = condition.requiredText(column)) return memory.equal(column).rows(table, *text);
    return std::nullopt;
}

} // namespace

void eachRow(Table& table, const std::optional<Condition>& condition,
             const std::function<void(RowId, const RowView&)>& visit)
{
    if (condition && condition->never()) return;
    std::optional<std::vector<RowId>> rows;
    if (condition) rows = candidates(table, *condition);
    if (!rows) {
        const auto visitIfMet = [&](RowId id, const RowView& row) {
            if (!condition || (*condition)(row)) visit(id, row);
            return true;
        };
        if (const auto pages = condition ? pagesOfPeriod(table, *condition) : nullptr)
            table.forEachRow(pages, visitIfMet);
        else
            table.forEachRow(visitIfMet);
        return;
    }
    // In the order of the file, so that each page is visited once. The index of a journal mostly gives them so.
    if (!std::ranges::is_sorted(*rows)) std::ranges::sort(*rows);
    for (const RowId id : *rows) {
        const std::optional<RowView> row = table.row(id);
        if (row && (*condition)(*row)) visit(id, *row);
    }
}

} // namespace jet::sql
