#pragma once

#include <sqlite3.h>

namespace query {

/// Adds acc_sum, acc_avg, acc_var(p), acc_stdev(p), acc_first, acc_last, and acc_only, which refuses a second row.
/// Returns SQLite's result.
int addAggregates(sqlite3* database);

} // namespace query
