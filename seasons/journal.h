#pragma once

#include "seasons/figures.h"
#include "store/jet/database/database.h"

#include <cstdint>

namespace seasons {

/// What a journal says of a season, and what of it could not be counted.
struct Reading {
    Figures figures;
    std::uint64_t damaged = 0; ///< rows that cannot be read
    std::uint64_t undated = 0; ///< pressings without a day that the calendar knows
};

/// The season that began in that year; where none is named, the newest that had begun by `now` (days since 1899-12-30),
/// or the oldest when none had. Reads the tables in passing. Throws jet::Error: noSuchTable where the file is not a
/// mill's, and what opening tables throws; a damaged row is counted and passed over.
Reading readSeason(jet::Database& database, std::optional<int> year, double now);

} // namespace seasons
