#pragma once

#include "files/disk.h"
#include "store/copy_names.h"
#include "store/jet/values/value.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Putting a copy of the mill's database back. Standard library only.
namespace store {

/// One copy as people choose among them.
struct CopyFacts {
    std::string name;
    CopyTime time;
    std::uint64_t customers = 0;
    std::uint64_t pressings = 0;           ///< without the totals of a report
    std::optional<jet::DateTime> newest;   ///< of the pressings
    std::optional<std::string> unreadable; ///< why it could not be read to its end
};

/// The database of the program's directory, whatever the case of its name; as it would be named where there is none.
std::filesystem::path databaseIn(files::Disk& disk, const std::filesystem::path& directory);

/// The copies in the program's directory, newest first.
std::vector<CopyFacts> listCopies(files::Disk& disk, const std::filesystem::path& directory);

struct Restored {
    std::filesystem::path database;
    std::filesystem::path aside; ///< where the file that was there is now; empty when there was none
    bool slipOpen = false;       ///< a slip is on its way: the next start books it, in the database that is there then
};

/// Makes a copy the mill's database. `copy` is its file name, or the date in it ("2025-11-20", "2025-11-20-140501").
///
/// At every moment the database is the old one or the new one, each whole; only where the old file cannot be read any
/// more is it moved aside first. The copy itself stays. What was there is kept under a name of its own with `now` in
/// it; a journal that a crash left beside it is applied first, or goes with it where that is not possible.
/// `announce` gets the file that is about to become the database, checked and complete, while nobody else can open the
/// old one; what it throws leaves the old one in its place. `admit` gets the old one and that file earlier, before
/// anything was done: what it throws leaves everything as it was.
/// Throws notFound (no such copy), inUse (the program is running), damaged (the copy is not sound), noPermission, disk:
/// then the database was not changed.
Restored
restoreCopy(files::Disk& disk, const std::filesystem::path& directory, const std::string& copy, const CopyTime& now,
            const std::function<void(const std::filesystem::path& next, const std::string& copy)>& announce = {},
            const std::function<void(const std::filesystem::path& old, const std::filesystem::path& next)>& admit = {});

} // namespace store
