#pragma once

#include "store/jet/values/sort_key.h"

#include <sqlite3.h>

/// What SQLite learns of Access: its functions under the names of function_names.h, Like with its patterns, sums of
/// decimals that are exact, and the collation ACCESS, by which texts are compared as an index of the file compares
/// them.
namespace query {

struct FunctionSetting {
    jet::Collation order = jet::turkish; ///< of the file: how texts are compared, folded and matched
    bool english = false;                ///< Format writes a decimal point, not a comma
};

/// Throws files::Error (disk) unless the result is SQLITE_OK: SQLite has no memory.
void must(int result);

/// The setting lives as long as the connection. Throws files::Error (disk) when SQLite has no memory.
void addFunctions(sqlite3* database, const FunctionSetting& setting);

} // namespace query
