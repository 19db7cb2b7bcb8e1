#pragma once

#include "store/jet/database/database.h"
#include "store/jet/rows/table_definition.h"

#include <vector>

namespace jet {

/// Lays out the definition of a new table: ids, places in the row, flags, the order of columns and indexes. Pages and
/// maps are still to be filled in. `columns` bring name, type, length and storage class, in the order of their ids.
TableDefinition planDefinition(std::vector<Column> columns, const std::vector<NewIndex>& indexes, bool system,
                               Collation collation);

/// A column of a new table as planDefinition wants it.
Column plannedColumn(const NewColumn& column, Collation collation);

/// The least length of a row of that table.
std::size_t shortestRowOf(const TableDefinition& definition);

} // namespace jet
