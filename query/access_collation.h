#pragma once

#include "store/jet/values/sort_key.h"

#include <sqlite3.h>

#include <string_view>

namespace query {

/// Adds the collation ACCESS: texts in the order of an index of that collation, letter case without weight; in Turkish
/// order where its weights are not known. Returns SQLite's result.
int addCollation(sqlite3* database, jet::Collation collation);

/// Below, equal to or above 0 as the first text stands before, with or behind the second in that order.
int compareTexts(std::string_view first, std::string_view second, jet::Collation collation);

} // namespace query
