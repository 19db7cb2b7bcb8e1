#pragma once

#include "store/jet/values/sort_key.h"

#include <sqlite3.h>

/// What SQLite learns of Access: its functions under the names of function_names.h, Like with its patterns, sums of
/// decimals that are exact, and the collation ACCESS, by which texts are compared as an index of the file compares
/// them.
namespace query {

/// `collation` of the file; Turkish order where its weights are not known. Numbers in texts by Format are written with
/// a decimal comma, or with a point where `english`. Throws files::Error (disk) when SQLite has no memory.
void addFunctions(sqlite3* database, jet::Collation collation, bool english);

} // namespace query
