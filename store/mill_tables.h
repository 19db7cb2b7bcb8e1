#pragma once

#include "store/jet/database/database.h"

/// The two tables that every database of a mill has.
namespace store {

/// Adds the customer register and the journal of pressings, with their columns in the order by which the program
/// addresses them. All or nothing. Throws exists when one of the tables is there.
void createMillTables(jet::Database& database, jet::DateTime now);

/// Makes a new database with the two tables: whole under its name, or not at all. Throws exists, disk.
void createMillDatabase(jet::Disk& disk, const std::filesystem::path& path, jet::Collation collation,
                        jet::DateTime now);

/// Which of the two tables has these columns: for a damaged file that does not tell its tables' names any more. Empty
/// for any other table.
std::u16string millTableName(const std::vector<jet::Column>& columns);

} // namespace store
