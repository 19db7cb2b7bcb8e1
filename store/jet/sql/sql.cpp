#include "store/jet/sql/sql.h"

#include "store/jet/format/doors.h"
#include "store/jet/sql/condition.h"
#include "store/jet/sql/order.h"
#include "store/jet/sql/row_source.h"
#include "store/jet/sql/sql_parser.h"
#include "store/jet/sql/sum.h"
#include "store/jet/sql/table_memory.h"

#include <algorithm>

namespace jet {
namespace {

using sql::Condition;
using sql::Statement;

/// A table of more rows is no register of names; its texts would take too much room.
constexpr std::uint32_t mostRemembered = 400'000;

std::optional<Condition> conditionOf(const Table& table, const Statement& statement)
{
    if (!statement.where) return std::nullopt;
    return Condition(table, *statement.where);
}

std::size_t fieldOf(const Table& table, const std::u16string& name)
{
    if (const std::optional<std::size_t> column = table.columnNamed(name)) return *column;
    throw Error(Fault::noSuchTable, "“" + toUtf8(table.name()) + "” tablosunda “" + toUtf8(name) + "” adlı alan yok.");
}

bool isAggregate(const Statement& statement)
{
    const auto sums = std::ranges::count(statement.outputs, true, &sql::Output::sum);
    if (sums == 0) return false;
    if (static_cast<std::size_t>(sums) != statement.outputs.size() || !statement.order.empty())
        throw Error(Fault::unsupported, "Toplam alan bir sorguda yalnız toplamlar istenebilir; sıralama da olmaz.");
    return true;
}

Selection aggregates(Table& table, const Statement& statement)
{
    Selection selection;
    std::vector<sql::Sum> sums;
    for (const sql::Output& output : statement.outputs) {
        sums.emplace_back(table, fieldOf(table, output.field));
        selection.columns.push_back(u"Sum(" + output.field + u")");
    }
    sql::eachRow(table, conditionOf(table, statement), [&sums](RowId, const RowView& row) {
        for (sql::Sum& sum : sums) sum.add(row);
    });
    for (const sql::Sum& sum : sums) selection.aggregates.push_back(sum.result());
    return selection;
}

/// The column whose remembered order answers the query, if there is one: ordered by one text, ascending, with no
/// condition or with a pattern on that same text.
std::optional<std::size_t> rememberedOrder(const Table& table, const Statement& statement,
                                           const std::optional<Condition>& condition)
{
    if (statement.order.size() != 1 || statement.order.front().descending) return std::nullopt;
    const std::size_t column = fieldOf(table, statement.order.front().field);
    if (table.columns()[column].type != ColumnType::text) return std::nullopt;
    if (condition && condition->requiredPattern(column) == nullptr) return std::nullopt;
    if (table.hasUncommittedChanges() || table.rowCount() > mostRemembered) return std::nullopt;
    return column;
}

/// What the table says of itself, where its pages have room for so many.
std::size_t mostRows(const Table& table)
{
    return std::min<std::size_t>(table.rowCount(), table.dataPages()->size() * (limits::slotsOnPage + std::size_t{1}));
}

std::vector<RowId> rowsInOrder(Table& table, const Statement& statement)
{
    const std::optional<Condition> condition = conditionOf(table, statement);
    sql::Order order(table, statement.order);
    if (const auto column = rememberedOrder(table, statement, condition)) {
        TextOrder& remembered = TableMemory::of(table).order(*column);
        if (!condition) return remembered.rows(table);
        std::vector<RowId> rows = remembered.rows(table, *condition->requiredPattern(*column));
        if (!condition->isOnlyAPattern())
            std::erase_if(rows, [&](RowId id) { return !(*condition)(table.row(id).value()); });
        return rows;
    }

    std::vector<RowId> rows;
    const bool ordered = !statement.order.empty();
    if (!ordered && !condition) {
        // Where its rows stand is all that is wanted of the table: its pages need not stay.
        rows.reserve(mostRows(table));
        table.passRows(table.dataPages(), [&rows](RowId id, const RowView&) {
            rows.push_back(id);
            return true;
        });
        return rows;
    }
    if (ordered && !condition) order.expect(mostRows(table));
    sql::eachRow(table, condition, [&](RowId id, const RowView& row) {
        if (ordered)
            order.add(id, row);
        else
            rows.push_back(id);
    });
    return ordered ? order.take() : rows;
}

Selection selectNow(Database& database, std::u16string_view sql)
{
    const Statement statement = sql::parseStatement(sql);
    if (statement.kind != Statement::Kind::select)
        throw Error(Fault::unsupported, "Kayıt seçen bir sorgu bekleniyordu, silen bir sorgu verildi.");
    Table& table = database.table(statement.table);
    if (isAggregate(statement)) return aggregates(table, statement);

    Selection selection;
    selection.table = &table;
    for (const sql::Output& output : statement.outputs) selection.fields.push_back(fieldOf(table, output.field));
    if (statement.outputs.empty())
        for (std::size_t column = 0; column < table.columns().size(); ++column) selection.fields.push_back(column);
    for (const std::size_t field : selection.fields) selection.columns.push_back(table.columns()[field].name);
    selection.rows = rowsInOrder(table, statement);
    return selection;
}

} // namespace

Selection select(Database& database, std::u16string_view sql)
{
    return onWhatIsThere(database.pager(), [&] { return selectNow(database, sql); });
}

bool prepareOrder(Database& database, std::u16string_view tableName, std::u16string_view field)
{
    const Table& table = database.table(tableName);
    const std::size_t column = fieldOf(table, std::u16string(field));
    if (table.columns()[column].type != ColumnType::text || table.rowCount() > mostRemembered) return true;
    return TableMemory::of(table).order(column).prepare(table);
}

bool prepareTexts(Database& database, std::u16string_view tableName, std::u16string_view field)
{
    return onWhatIsThere(database.pager(), [&] {
        const Table& table = database.table(tableName);
        const std::size_t column = fieldOf(table, std::u16string(field));
        const bool indexed = std::ranges::any_of(table.indexes(), [&](const Index& each) {
            return each.columns.front().column == column && each.columns.front().ascending;
        });
        if (table.columns()[column].type != ColumnType::text || indexed) return true;
        return TableMemory::of(table).texts(column).learn(table);
    });
}

namespace {

std::size_t executeNow(Database& database, std::u16string_view sql)
{
    const Statement statement = sql::parseStatement(sql);
    if (statement.kind != Statement::Kind::erase)
        throw Error(Fault::unsupported, "Kayıt silen bir sorgu bekleniyordu, seçen bir sorgu verildi.");
    Table& table = database.table(statement.table);

    std::vector<RowId> rows;
    if (statement.where) {
        sql::eachRow(table, conditionOf(table, statement), [&rows](RowId id, const RowView&) { rows.push_back(id); });
        if (rows.empty()) return 0;
        table.erase(rows);
        return rows.size();
    }

    std::size_t count = 0;
    // A row that cannot be read is no reason to keep it: it is to go with the others.
    table.scan([&count](RowId, const RowView&) { return ++count > 0; }, [](RowId, const std::string&) {});
    table.eraseAll();
    return count;
}

} // namespace

std::size_t execute(Database& database, std::u16string_view sql)
{
    return onWhatIsThere(database.pager(), [&] { return executeNow(database, sql); });
}

std::vector<RowId> rowsWhere(Table& table, std::u16string_view condition)
{
    const std::optional<Condition> where = Condition(table, sql::parseCondition(condition));
    std::vector<RowId> rows;
    sql::eachRow(table, where, [&rows](RowId id, const RowView&) { rows.push_back(id); });
    return rows;
}

} // namespace jet
