#pragma once

#include "store/jet/table/table.h"

#include <vector>

/// The rows of a table of which a condition holds, in the order of the file.
template <class Condition> std::vector<jet::RowId> rowsWhere(const jet::Table& table, Condition&& holds)
{
    std::vector<jet::RowId> rows;
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        if (holds(row)) rows.push_back(id);
        return true;
    });
    return rows;
}
inline std::vector<jet::RowId> allRows(const jet::Table& table)
{
    return rowsWhere(table, [](const jet::RowView&) { return true; });
}
