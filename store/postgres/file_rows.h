#pragma once

#include "store/jet/table/table.h"
#include "store/postgres/server_rows.h"

#include <string>
#include <vector>

namespace postgres {

/// The rows of a table of the file as lines, in the order in which they stand there; those of Hareket without the sums
/// of a report. Throws badValue for a field that the server could not give back as it is, with its row.
std::vector<std::string> linesIn(const jet::Table& table, const TableShape& shape);

struct FileLine {
    jet::RowId row;
    std::string line;
};
/// The same, with where each stands.
std::vector<FileLine> fileLinesIn(const jet::Table& table, const TableShape& shape);

/// A line as the fields of a new row. The columns are those that the program makes.
std::vector<jet::Assignment> assignmentsOf(const std::string& line, const TableShape& shape, const jet::Table& table);

} // namespace postgres
