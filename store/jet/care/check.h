#pragma once

#include "store/jet/database/database.h"

#include <functional>
#include <string>
#include <vector>

namespace jet {

struct CheckResult {
    std::vector<std::string> faults;   ///< the file is not valid
    std::vector<std::string> warnings; ///< harmless: leaked pages, stale row counts
    std::uint32_t pages = 0;
    std::uint32_t tables = 0;
    std::uint64_t rows = 0; ///< sound ones
    std::uint64_t indexEntries = 0;
    bool ok() const { return faults.empty(); }
};

/// Walks every page, row, usage map and index of the file, system tables included. Changes nothing.
/// `progress` is called with 0..100.
CheckResult checkDatabase(Database& database, const std::function<void(int)>& progress = {});

} // namespace jet
