#pragma once

#include "store/jet/database/database.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace exchange {

/// A table whose rows are elsewhere: the file holds its name and where they are.
struct LinkedTable {
    std::u16string name;
    std::u16string foreignName; ///< what it is called there
    std::u16string database;    ///< the file; empty for a data source of the system (ODBC)
};

/// In the order of the catalogue.
std::vector<LinkedTable> linkedTablesOf(jet::Database& database);
/// In any letter case.
std::optional<LinkedTable> linkedTableNamed(jet::Database& database, std::string_view name);

/// Where its rows are, as a part of a sentence.
std::string placeOf(const LinkedTable& table);
/// Throws files::Error (unsupported), which says so, when the name is that of a linked table.
void refuseLinkedTable(jet::Database& database, std::string_view name);

} // namespace exchange
