#pragma once

#include "store/jet/format/format.h"
#include "store/jet/values/sort_key.h"

#include <cstdint>
#include <vector>

/// What every database has beside its users' tables.
namespace jet {

/// Numbers of objects that the catalogue refers to.
inline constexpr std::uint32_t tablesContainer = 0x0F000001;
inline constexpr std::uint32_t databasesContainer = 0x0F000002;
inline constexpr std::uint32_t relationshipsContainer = 0x0F000003;
inline constexpr std::uint32_t msysDb = 0x10000000; ///< the database itself

inline constexpr PageNo firstSystemTable = 2; ///< MSysObjects, MSysACEs, MSysQueries, MSysRelationships

/// The sixteen pages of a new database: header, free map, and the four system tables, all still without rows.
std::vector<std::uint8_t> blankDatabase(Collation collation);

} // namespace jet
