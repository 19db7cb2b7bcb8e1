#pragma once

#include <sqlite3.h>

namespace query {

/// Adds acc_sum, acc_avg, acc_var(p), acc_stdev(p), acc_first and acc_last. Returns SQLite's result.
int addAggregates(sqlite3* database);

} // namespace query
