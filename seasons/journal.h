#pragma once

#include "seasons/figures.h"
#include "store/jet/database/database.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace seasons {

/// A pressing as it is listed.
struct Booked {
    double moment = 0; ///< as Pressing::moment
    std::u16string customer;
    Amounts amounts;
};

/// What a journal says of a season, and what of it could not be counted.
struct Reading {
    Figures figures;
    std::vector<Booked> today = {}; ///< of the day of reading, in the order of their moments
    std::uint64_t damaged = 0;      ///< rows that cannot be read
    std::uint64_t undated = 0;      ///< pressings without a day that the calendar knows
    std::uint64_t nobodys = 0;      ///< rows whose customer's field is empty (Null): no report adds them up
};

/// The database, to be read only, also while the counter is at work: while it writes a change, which takes it some
/// milliseconds, nobody may begin to read, and this waits for two seconds. Throws what opening throws.
std::unique_ptr<jet::Database> openToRead(files::Disk& disk, const std::filesystem::path& path);

/// The season that began in that year; where none is named, the newest that had begun by `now` (days since 1899-12-30),
/// or the oldest when none had. Reads the tables in passing. Throws jet::Error: noSuchTable where the file is not a
/// mill's, and what opening tables throws; a damaged row is counted and passed over.
Reading readSeason(jet::Database& database, std::optional<int> year, double now);

} // namespace seasons
