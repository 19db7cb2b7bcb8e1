#pragma once

#include "store/jet/database/database.h"

#include <string>
#include <string_view>
#include <vector>

/// Queries over one table.
///
///     Select * | field, ... | Sum(field), ...  From T  [Where condition]  [Order By field [Asc|Desc], ...]  [;]
///     DELETE FROM T  [WHERE condition]  [;]
///
///     condition   And, Or, Not, parentheses; field or value  = <> < > <= >=  field or value;
///                 field [Not] Like 'pattern' (like_pattern.h); field Is [Not] Null
///     values      'text' or "text" (a quote inside is written twice), numbers with a point, #m/d/yyyy [h:mm[:ss]]#,
///                 True, False, Null
///     names       as they are, or in [brackets] when they hold blanks or are keywords; any letter case
///
/// Keywords in any letter case. What the comparisons mean stands in condition.h, what the order means in order.h, what
/// a sum is in sum.h: = and <> on texts are exact to the code unit, Like and Order By follow the Turkish alphabet
/// whatever the file's collation, Like ignores case.
///
/// A text that cannot be understood throws Fault::syntax before anything is read or changed. That alone does not make
/// it safe to splice a name into a text: x' Or '1'='1 between two quotes is a condition like any other, and one that
/// every row meets. Nobody can tell from the finished text; so whoever splices names must refuse those with an
/// apostrophe (Fault::syntax as well), before the text goes anywhere. For the screen, mill/queries does.
namespace jet {

/// What a Select returned. A plain Select of one table keeps row ids, so that callers can fetch fields when needed;
/// an aggregate has one row of values and no ids.
struct Selection {
    std::vector<std::u16string> columns;
    Table* table = nullptr;          ///< null for an aggregate
    std::vector<std::size_t> fields; ///< positions in table->columns(), in the order of `columns`
    std::vector<RowId> rows;         ///< in the order asked for; equal keys keep storage order
    std::vector<Value> aggregates;   ///< one row; Sum of nothing but Null is Null
};

/// Throws syntax, noSuchTable (fields too), badValue (values that cannot be compared or summed), damaged.
Selection select(Database& database, std::u16string_view sql);

/// Begins to learn the order of a text field that a Select with a pattern on that field and an Order By of it would
/// learn when it is first asked for: the first call reads the texts, another thread puts them in order, later calls
/// take what it has made; true when nothing is left to learn. Such a Select is answered meanwhile. For a field of
/// another kind there is nothing to learn. Throws noSuchTable, damaged.
bool prepareOrder(Database& database, std::u16string_view table, std::u16string_view field);

/// Begins to learn which rows hold which text in a field, so that a condition that asks for one text exactly need not
/// read the table: each call learns a part of some milliseconds; true when nothing is left to learn. Nothing is where
/// the field is of another kind, or leads an index. Throws noSuchTable, damaged.
bool prepareTexts(Database& database, std::u16string_view table, std::u16string_view field);

/// DELETE in one transaction; returns the number of rows deleted. Throws as select, and as Table::erase.
std::size_t execute(Database& database, std::u16string_view sql);

/// The rows that meet a condition, as it stands after Where: in storage order, found by the shortest way there is.
/// Throws as select.
std::vector<RowId> rowsWhere(Table& table, std::u16string_view condition);

} // namespace jet
