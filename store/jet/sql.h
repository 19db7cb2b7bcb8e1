#pragma once

#include "store/jet/database.h"

#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// What a Select returned. A plain Select of one table keeps row ids, so that callers can fetch fields when needed;
/// an aggregate has one row of values and no ids.
struct Selection {
    std::vector<std::u16string> columns;
    Table* table = nullptr;                ///< null for an aggregate
    std::vector<std::size_t> fields;       ///< positions in table->columns(), in the order of `columns`
    std::vector<RowId> rows;               ///< in the order asked for; equal keys keep storage order
    std::vector<Value> aggregates;         ///< one row; Sum of nothing but Null is Null
};

/// Select */fields/Sum(field)... From T [Where ...] [Order By field [Asc|Desc], ...][;]
/// Keywords in any case. Where: And/Or/Not, parentheses, = <> < > <= >=, Like with * ? # [..], Is [Not] Null;
/// literals 'text', "text", numbers, #m/d/yyyy [hh:mm:ss]#, True/False/Null.
/// = on texts is exact; Like and Order By follow Turkish letters, Like ignores case.
/// A quote inside a text literal is written twice. Throws syntax, noSuchTable, damaged.
Selection select(Database& database, std::u16string_view sql);

/// DELETE FROM T [WHERE ...][;] in one transaction; returns the number of rows deleted.
std::size_t execute(Database& database, std::u16string_view sql);

} // namespace jet
