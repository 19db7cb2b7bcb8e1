#pragma once

#include "store/jet/values/sort_key.h"

#include <sqlite3.h>

namespace query {

/// Adds the collation ACCESS: texts in the order of an index of that collation, letter case without weight; in Turkish
/// order where its weights are not known. Returns SQLite's result.
int addCollation(sqlite3* database, jet::Collation collation);

} // namespace query
