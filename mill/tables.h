#pragma once

#include "store/jet/database/database.h"

/// The two tables as a database file has them.
namespace mill {

/// Adds the customer register and the journal of pressings, with their columns in the order by which the program
/// addresses them. All or nothing. Throws exists when one of the tables is there.
void createTables(jet::Database& database, jet::DateTime now);

/// Makes a new database with the two tables: whole under its name, or not at all. Throws exists, disk.
void createDatabase(files::Disk& disk, const std::filesystem::path& path, jet::Collation collation, jet::DateTime now);

/// Which of the program's tables has these columns: for a damaged file that does not tell its tables' names any more.
/// Empty for any other table.
std::u16string tableNamed(const std::vector<jet::Column>& columns);

} // namespace mill
