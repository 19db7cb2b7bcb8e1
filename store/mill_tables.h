#pragma once

#include "store/jet/database.h"

/// The two tables that every database of a mill has.
namespace store {

/// Adds the customer register and the journal of pressings, with their columns in the order by which the program
/// addresses them. All or nothing. Throws exists when one of the tables is there.
void createMillTables(jet::Database& database, jet::DateTime now);

} // namespace store
