#pragma once

#include "store/jet/format/format.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/values/sort_key.h"

#include <cstdint>
#include <vector>

/// What every database has beside its users' tables.
namespace jet {

/// The sixteen pages of a new database: header, free map, and the four system tables, all still without rows.
std::vector<std::uint8_t> blankDatabase(Collation collation);
/// A copy of a file's header and nothing else: all pages of the smallest file but the first two are free.
std::vector<std::uint8_t> emptyPages(PageView header);

} // namespace jet
